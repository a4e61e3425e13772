#include "StopSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace frontend {
namespace {

std::atomic<int> descriptorToWrite{-1};
static_assert(std::atomic<int>::is_always_lock_free, "the handler below may only touch lock-free atomics");

void requestStop(int /*signal*/) {
  const int error = errno;
  const char anything = 0;
  // A pipe that is full says the same already.
  if (write(descriptorToWrite.load(), &anything, 1) < 0) errno = error;
}

}  // namespace

StopSignals::StopSignals() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) throw std::system_error(errno, std::generic_category());
  reader_ = platform::OwnedDescriptor(ends[0]);
  writer_ = platform::OwnedDescriptor(ends[1]);
  descriptorToWrite.store(writer_.get());
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) replace(signal);
}

StopSignals::~StopSignals() {
  for (const Previous& previous : previous_) sigaction(previous.signal, &previous.action, nullptr);
  descriptorToWrite.store(-1);
}

void StopSignals::replace(int signal) {
  Previous previous{signal, {}};
  if (sigaction(signal, nullptr, &previous.action) != 0 || previous.action.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = requestStop;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  if (sigaction(signal, &action, nullptr) == 0) previous_.push_back(previous);
}

}  // namespace frontend
