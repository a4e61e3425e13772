#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <mutex>

#include "InterruptedHeap.h"

namespace {

std::mutex aMutex;
volatile std::sig_atomic_t handled = 0;

void allocate(int) {
  handled = handled + 1;
  std::free(std::malloc(1));
}
void lock(int) {
  handled = handled + 1;
  const std::lock_guard guard(aMutex);
}
void doNothing(int) {
  handled = handled + 1;
}

// The violations of a handler that runs inside the third call of the heap.
long violationsOf(void (*handler)(int)) {
  handled = 0;
  const auto before = std::signal(SIGUSR1, handler);
  const InterruptedHeap heap(SIGUSR1, 3);
  for (int call = 0; call < 2; ++call) std::free(std::malloc(10));
  std::signal(SIGUSR1, before);
  EXPECT_TRUE(heap.happened());
  EXPECT_EQ(handled, 1);
  return heap.violations();
}

TEST(InterruptedHeap, FindsAHandlerThatAllocatesOrLocks) {
  EXPECT_EQ(violationsOf(allocate), 2) << "it frees as well";
  EXPECT_EQ(violationsOf(lock), 1);
}

TEST(InterruptedHeap, FindsNothingInAHandlerThatDoesNeither) {
  EXPECT_EQ(violationsOf(doNothing), 0);
}

}  // namespace
