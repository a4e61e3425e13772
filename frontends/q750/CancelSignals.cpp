#include "CancelSignals.h"

#include <poll.h>

#include <atomic>
#include <cerrno>

#include "SupervisedScan.h"

namespace frontend {
namespace {

constexpr int cancelSignals[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<CancelFlag*> flagToRequest{nullptr};
std::atomic<SupervisedScan*> scanToCancel{nullptr};
static_assert(std::atomic<CancelFlag*>::is_always_lock_free,
              "the handler below may only touch lock-free atomics");

void requestCancel(int /*signal*/) {
  const int error = errno;
  if (CancelFlag* flag = flagToRequest.load()) flag->request();
  if (SupervisedScan* scan = scanToCancel.load()) scan->cancel();
  errno = error;
}

}  // namespace

CancelSignals::CancelSignals(CancelFlag& flag) {
  flagToRequest.store(&flag);
  for (const int signal : cancelSignals) replace(signal, requestCancel);
  for (const int signal : {SIGPIPE, SIGXFSZ}) replace(signal, SIG_IGN);
}

CancelSignals::~CancelSignals() {
  for (const Previous& previous : previous_) sigaction(previous.signal, &previous.action, nullptr);
  flagToRequest.store(nullptr);
}

void CancelSignals::replace(int signal, void (*handler)(int)) {
  Previous previous{signal, {}};
  if (sigaction(signal, nullptr, &previous.action) != 0 || previous.action.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no SA_RESTART: a blocked write has to return
  if (sigaction(signal, &action, nullptr) == 0) previous_.push_back(previous);
}

CancelSignals::Reaching::Reaching(SupervisedScan& scan, const CancelFlag& flag) {
  scanToCancel.store(&scan);
  if (flag.requested()) scan.cancel();
}

CancelSignals::Reaching::~Reaching() {
  scanToCancel.store(nullptr);
}

bool awaitInput(int descriptor, const CancelFlag& flag) {
  // Blocked but while it waits, a signal cannot come between the look at the flag and the waiting.
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  for (const int signal : cancelSignals) sigaddset(&blocked, signal);
  sigprocmask(SIG_BLOCK, &blocked, &before);
  pollfd input{descriptor, POLLIN, 0};
  int ready = 0;
  while (!flag.requested() && ready == 0) {
    ready = ppoll(&input, 1, nullptr, &before);
    if (ready < 0 && errno == EINTR) ready = 0;
  }
  sigprocmask(SIG_SETMASK, &before, nullptr);
  return !flag.requested();
}

}  // namespace frontend
