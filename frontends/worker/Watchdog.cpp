#include "Watchdog.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <new>

#include "WorkerClock.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

// Between two attempts to abort the transfer in flight: the first may have been made before it began.
constexpr int pauseBetweenAbortsMs = 20;
constexpr int hangStatus = 3;

void signalEvent(int event) {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(event, &one, sizeof one);
}

}  // namespace

Watchdog::Watchdog(const Dependencies& dependencies)
    : dependencies_(dependencies),
      cancelled_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

Watchdog::~Watchdog() {
  signalEvent(stop_.get());
  thread_.join();
}

void Watchdog::run() {
  while (awaitEvent()) {
    if (dependencies_.cancel.requested()) dependencies_.transfers.abort();
    endHungProcess();
    dependencies_.reports.sendHeartbeat();
  }
}

// Waits no longer than until the next heartbeat is due. False where the thread is to end.
bool Watchdog::awaitEvent() {
  const bool cancelled = dependencies_.cancel.requested();
  const int waitMs =
      cancelled ? pauseBetweenAbortsMs : static_cast<int>(workertimes::heartbeatInterval.count());
  // A connection that hung up stays readable for ever: poll() would never wait again.
  pollfd awaited[] = {{stop_.get(), POLLIN, 0}, {hungUp_ ? -1 : dependencies_.control, POLLIN, 0}};
  poll(awaited, 2, waitMs);
  if (awaited[0].revents != 0) return false;
  if (awaited[1].revents != 0) readControl();
  return true;
}

// Whatever follows the request is a cancel: the protocol has nothing else.
void Watchdog::readControl() {
  std::array<char, 64> message;
  const ssize_t received = recv(dependencies_.control, message.data(), message.size(), MSG_DONTWAIT);
  if (received < 0 && (errno == EINTR || errno == EAGAIN)) return;
  hungUp_ = received <= 0;
  requestCancel();
}

void Watchdog::requestCancel() {
  if (cancelTime_) return;
  cancelTime_ = watchdogTime();
  dependencies_.cancel.request();
  signalEvent(cancelled_.get());
}

void Watchdog::endHungProcess() {
  const auto now = watchdogTime();
  const std::chrono::milliseconds idle = dependencies_.activity.idleTime();
  const bool stays = cancelTime_ && now - *cancelTime_ > workertimes::workerExitTimeout;
  if (stays || idle > dependencies_.longestIdleTime) endProcess(idle);
}

// Without destructors: what hangs may hold any lock, and the system takes the USB device back.
void Watchdog::endProcess(std::chrono::milliseconds idle) {
  try {
    const auto idleMs = static_cast<std::uint64_t>(idle.count());
    dependencies_.reports.send(cancelTime_ ? outcome::cancelled() : outcome::silent(idleMs));
  } catch (const std::bad_alloc&) {
    // The exit status must do: an exception would leave the thread.
  }
  _exit(hangStatus);
}

}  // namespace frontend
