#include "CancelSignals.h"

#include <atomic>

namespace frontend {
namespace {

std::atomic<CancelFlag*> flagToRequest{nullptr};
static_assert(std::atomic<CancelFlag*>::is_always_lock_free,
              "the handler below may only touch lock-free atomics");

void requestCancel(int /*signal*/) {
  if (CancelFlag* flag = flagToRequest.load()) flag->request();
}

}  // namespace

CancelSignals::CancelSignals(CancelFlag& flag) {
  flagToRequest.store(&flag);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) replace(signal, requestCancel);
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

}  // namespace frontend
