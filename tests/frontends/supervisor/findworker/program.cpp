#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "SupervisedScan.h"

// Prints where this program would find its worker, or, given a library, where that would.
int main(int count, char** arguments) {
  if (count < 2) return std::fputs(frontend::findWorker().c_str(), stdout) < 0 ? 1 : 0;
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return 2;
  const auto where = reinterpret_cast<const char* (*)()>(dlsym(library, "whereIsTheWorker"));
  return where == nullptr || std::fputs(where(), stdout) < 0 ? 3 : 0;
}
