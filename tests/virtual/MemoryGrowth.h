#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>

// Private memory of the process, in bytes: the heap, and what is mapped beside it, which the heap's
// own statistics miss.
inline std::ptrdiff_t privateMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::ptrdiff_t kilobytes = 0;
    if (word == "VmData:" && status >> kilobytes) return kilobytes * 1024;
  }
  ADD_FAILURE() << "the system does not report how much memory the process has";
  return 0;
}

// How much of it `work` adds in this many rounds, after enough warm-up rounds for every buffer to have
// reached its size.
template <typename Work>
std::ptrdiff_t growthOver(int rounds, const Work& work) {
  for (int i = 0; i < rounds / 4; ++i) work();
  const std::ptrdiff_t before = privateMemory();
  for (int i = 0; i < rounds; ++i) work();
  return privateMemory() - before;
}

// Less than the smallest block of the heap for each of these rounds, and more than one step in which a heap
// grows that is only reused.
constexpr int manyRounds = 20000;
constexpr std::ptrdiff_t flat = std::ptrdiff_t{256} << 10;

// False under AddressSanitizer, which keeps freed blocks for a while and finds leaks itself.
constexpr bool memoryIsMeasurable =
#ifdef __SANITIZE_ADDRESS__
    false;
#else
    true;
#endif
