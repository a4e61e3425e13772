#include "CancelSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace frontend {
namespace {

// A handler has no argument of its own to find the object by.
std::atomic<CancelSignals*> installed{nullptr};
static_assert(std::atomic<CancelSignals*>::is_always_lock_free,
              "a signal handler may only touch lock-free atomics");

constexpr std::array cancelling{SIGINT, SIGTERM, SIGHUP};
constexpr std::array becomingErrors{SIGPIPE, SIGXFSZ};

}  // namespace

CancelSignals::CancelSignals(Cancellation& cancellation)
    : cancellation_(cancellation), event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_.get() < 0) throw std::system_error(errno, std::generic_category());
  previous_.reserve(cancelling.size() + becomingErrors.size());  // nothing below throws
  installed = this;
  for (const int signal : cancelling) handle(signal, onSignal);
  for (const int signal : becomingErrors) handle(signal, SIG_IGN);
}

CancelSignals::~CancelSignals() {
  for (const Previous& previous : previous_) sigaction(previous.signal, &previous.action, nullptr);
  installed = nullptr;
}

void CancelSignals::onSignal(int signal) {
  const int error = errno;
  if (CancelSignals* signals = installed) {
    Cancellation& cancellation = signals->cancellation_;
    if (cancellation.requested() && signal != SIGHUP) cancellation.insist();
    cancellation.request();
    const std::uint64_t one = 1;
    // Fails only if the counter is full, and readable therefore.
    [[maybe_unused]] const ssize_t written = write(signals->event_.get(), &one, sizeof one);
  }
  errno = error;
}

void CancelSignals::handle(int signal, void (*handler)(int)) {
  Previous previous{signal, {}};
  if (sigaction(signal, nullptr, &previous.action) != 0 || previous.action.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: a blocked write has to return
  if (sigaction(signal, &action, nullptr) == 0) previous_.push_back(previous);
}

}  // namespace frontend
