#include "WorkerLink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <cerrno>

#include "DescriptorMessage.h"
#include "WorkerMessages.h"

namespace frontend {
namespace {

// Enough for a front end that reads a few times per second; the system may grant less.
constexpr int imagePipeBytes = 1 << 20;
constexpr int lowestDescriptor = workerImageDescriptor + 1;

// Takes over a new descriptor, renumbered above the standard ones and the worker's.
platform::OwnedDescriptor kept(int descriptor) {
  platform::OwnedDescriptor given(descriptor);
  if (descriptor < 0 || descriptor >= lowestDescriptor) return given;
  platform::OwnedDescriptor renumbered(fcntl(descriptor, F_DUPFD_CLOEXEC, lowestDescriptor));
  if (renumbered.get() < 0 && errno == EINVAL) errno = EMFILE;  // the limit allows none with such a number
  return renumbered;
}

bool watch(int epoll, int descriptor) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = descriptor;
  return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

int WorkerLink::open() {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return errno;
  control_ = kept(ends[0]);
  workerControl_ = kept(ends[1]);
  if (pipe2(ends, O_CLOEXEC) != 0) return errno;
  image_ = kept(ends[0]);
  workerImage_ = kept(ends[1]);
  end_ = kept(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  timer_ = kept(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
  ready_ = kept(epoll_create1(EPOLL_CLOEXEC));
  for (const platform::OwnedDescriptor* each :
       {&control_, &workerControl_, &image_, &workerImage_, &end_, &timer_, &ready_}) {
    if (each->get() < 0) return errno != 0 ? errno : EMFILE;
  }
  const bool watched = watch(ready_.get(), image_.get()) && watch(ready_.get(), end_.get()) &&
                       watch(ready_.get(), timer_.get());
  if (!watched || fcntl(image_.get(), F_SETFL, O_NONBLOCK) != 0) return errno;
  fcntl(image_.get(), F_SETPIPE_SZ, imagePipeBytes);
  return 0;
}

void WorkerLink::closeWorkerEnds() {
  workerControl_.reset();
  workerImage_.reset();
}

int WorkerLink::sendTask(std::string_view message, int descriptor) {
  if (message.size() > largestWorkerMessage) return EMSGSIZE;
  return platform::sendMessage(control_.get(), message, descriptor);
}

void WorkerLink::signalEnd() noexcept {
  const std::uint64_t one = 1;
  // Fails only if the counter is full, and the descriptor readable therefore.
  [[maybe_unused]] const ssize_t written = write(end_.get(), &one, sizeof one);
}

void WorkerLink::cancel() noexcept {
  const int error = errno;
  // A worker that does not receive it is killed by finish().
  send(control_.get(), cancelMessage, sizeof cancelMessage - 1, MSG_DONTWAIT | MSG_NOSIGNAL);
  signalEnd();
  errno = error;
}

void WorkerLink::startHeartbeatTimer(std::chrono::milliseconds within) {
  constexpr long nanosecondsPerMillisecond = 1000000;
  itimerspec time{};
  time.it_value.tv_sec = static_cast<time_t>(within.count() / 1000);
  time.it_value.tv_nsec = static_cast<long>(within.count() % 1000) * nanosecondsPerMillisecond;
  timerfd_settime(timer_.get(), 0, &time, nullptr);
}

bool WorkerLink::heartbeatTimerExpired() {
  std::uint64_t times = 0;
  return read(timer_.get(), &times, sizeof times) == sizeof times;
}

void WorkerLink::wait(bool control) {
  pollfd awaited[] = {{ready_.get(), POLLIN, 0}, {control_.get(), POLLIN, 0}};
  poll(awaited, control ? 2 : 1, -1);
}

bool WorkerLink::awaitMessage(std::chrono::milliseconds timeout) {
  pollfd awaited[] = {{control_.get(), POLLIN, 0}, {end_.get(), POLLIN, 0}};
  return poll(awaited, 2, static_cast<int>(timeout.count())) > 0 && awaited[0].revents != 0;
}

}  // namespace frontend
