#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "SupervisedScan.h"

#ifdef __SANITIZE_ADDRESS__
// The search for leaks would need /proc, which this program must do without.
extern "C" int __lsan_is_turned_off() {
  return 1;
}
#endif

// Prints where this program would find its worker, or, given a library, where that would.
int main(int count, char** arguments) {
  if (count < 2) return std::fputs(frontend::findWorker().c_str(), stdout) < 0 ? 1 : 0;
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return 2;
  const auto where = reinterpret_cast<const char* (*)()>(dlsym(library, "whereIsTheWorker"));
  return where == nullptr || std::fputs(where(), stdout) < 0 ? 3 : 0;
}
