#include "MovedBytes.h"

#include <cstddef>
#include <fstream>
#include <string>

namespace {

std::uint64_t copied = 0;

std::uint64_t written() {
  std::ifstream counters("/proc/self/io");
  std::string word;
  while (counters >> word && word != "wchar:") continue;
  std::uint64_t value = 0;
  counters >> value;
  return value;
}

}  // namespace

std::uint64_t movedBytes() {
  return copied + written();
}

// The linker puts these two between this program's object files and the C library (--wrap).
extern "C" {

void* __real_memcpy(void* to, const void* from, std::size_t count);
void* __real_memmove(void* to, const void* from, std::size_t count);

void* __wrap_memcpy(void* to, const void* from, std::size_t count) {
  copied += count;
  return __real_memcpy(to, from, count);
}

void* __wrap_memmove(void* to, const void* from, std::size_t count) {
  copied += count;
  return __real_memmove(to, from, count);
}
}
