// Preloaded into q750: raises the signal that Q750_INTERRUPT names ("2 17 1": SIGINT in the seventeenth call
// of the heap after its handler is installed, once). Ends the program with the status 99 if the handler did
// what no handler may.
#include <dlfcn.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "InterruptedHeap.h"

namespace {

constexpr int violated = 99;
std::optional<InterruptedHeap> heap;

void beginWith(int installed) {
  const char* text = std::getenv("Q750_INTERRUPT");
  int signal = 0;
  long n = 0;
  int times = 0;
  const bool asked = text != nullptr && std::sscanf(text, "%d %ld %d", &signal, &n, &times) == 3;
  if (asked && signal == installed) heap.emplace(signal, n, times);
}

[[gnu::destructor]] void end() {
  if (heap && heap->violations() > 0) _exit(violated);
}

}  // namespace

extern "C" int sigaction(int signal, const struct sigaction* action, struct sigaction* before) noexcept {
  using Install = int (*)(int, const struct sigaction*, struct sigaction*);
  static const auto next = reinterpret_cast<Install>(dlsym(RTLD_NEXT, "sigaction"));
  const int result = next(signal, action, before);
  if (action != nullptr && !heap) beginWith(signal);
  return result;
}
