#include "WorkerSupervisor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "WorkerTimes.h"

namespace frontend {
namespace {

// Between two attempts to end the transfer under way.
constexpr int pauseBetweenAbortsMs = 20;
constexpr int hangStatus = 3;

void count(int event) {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(event, &one, sizeof one);
}

}  // namespace

WorkerSupervisor::WorkerSupervisor(const Parts& parts)
    : parts_(parts),
      cancelled_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_([this] { run(); }) {}

WorkerSupervisor::~WorkerSupervisor() {
  count(stop_.get());
  thread_.join();
}

void WorkerSupervisor::run() {
  for (;;) {
    const bool cancelled = parts_.cancel.requested();
    pollfd awaited[] = {{stop_.get(), POLLIN, 0}, {hungUp_ ? -1 : parts_.control, POLLIN, 0}};
    poll(awaited, 2,
         cancelled ? pauseBetweenAbortsMs : static_cast<int>(workertimes::heartbeatInterval.count()));
    if (awaited[0].revents != 0) return;
    if (awaited[1].revents != 0) listen();
    if (parts_.cancel.requested()) parts_.transfers.abort();
    endWhatHangs();
    parts_.reports.sendHeartbeat();
  }
}

// Whatever comes after the request is a cancel: there is nothing else to say.
void WorkerSupervisor::listen() {
  std::array<char, 64> message;
  const ssize_t received = recv(parts_.control, message.data(), message.size(), MSG_DONTWAIT);
  if (received < 0 && (errno == EINTR || errno == EAGAIN)) return;
  hungUp_ = received <= 0;
  requestCancel();
}

void WorkerSupervisor::requestCancel() {
  if (parts_.cancel.requested()) return;
  cancelTime_ = Clock::now();
  parts_.cancel.request();
  count(cancelled_.get());
}

void WorkerSupervisor::endWhatHangs() {
  const bool cancelled = parts_.cancel.requested();
  const bool stays = cancelled && Clock::now() - cancelTime_ > workertimes::workerExitTimeout;
  const std::chrono::milliseconds silence = parts_.activity.silence();
  const bool hangs = silence > parts_.longestSilence;
  if (!stays && !hangs) return;
  if (cancelled) {
    parts_.reports.tell(outcome::cancelled());
  } else {
    parts_.reports.tell(outcome::silent(static_cast<std::uint64_t>(silence.count())));
  }
  _exit(hangStatus);
}

}  // namespace frontend
