#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

#include "Semaphore.h"

namespace {

// How often the next calls fail before they do their work.
int failingWaits = 0;
int failingPosts = 0;

bool failsOnce(int& failing) {
  if (failing == 0) return false;
  --failing;
  errno = EINTR;
  return true;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the linker gives
extern "C" int __real_sem_wait(sem_t*);
extern "C" int __wrap_sem_wait(sem_t* semaphore) {
  return failsOnce(failingWaits) ? -1 : __real_sem_wait(semaphore);
}
extern "C" int __real_sem_post(sem_t*);
extern "C" int __wrap_sem_post(sem_t* semaphore) {
  return failsOnce(failingPosts) ? -1 : __real_sem_post(semaphore);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// The system's semaphore is the first field.
int countOf(Semaphore& semaphore) {
  int count = -1;
  sem_getvalue(reinterpret_cast<sem_t*>(&semaphore), &count);
  return count;
}

TEST(Semaphore, LetsAsManyWaitsPassAtOnceAsItsCountAndBlocksTheNextUntilASignal) {
  Semaphore semaphore(2);
  EXPECT_EQ(semaphore.wait(), 0);
  EXPECT_EQ(semaphore.wait(), 0);
  EXPECT_EQ(countOf(semaphore), 0);

  std::atomic<bool> signalled{false};
  bool passedAfterSignal = false;
  std::thread third([&] {
    semaphore.wait();
    passedAfterSignal = signalled;
  });
  signalled = true;
  EXPECT_EQ(semaphore.signal(), 0);
  third.join();
  EXPECT_TRUE(passedAfterSignal);
  EXPECT_EQ(countOf(semaphore), 0);
}

TEST(Semaphore, CountsSignalsThatNobodyWaitsFor) {
  Semaphore semaphore(0);
  for (int expected = 1; expected <= 3; ++expected) {
    semaphore.signal();
    EXPECT_EQ(countOf(semaphore), expected);
  }
}

TEST(Semaphore, WaitsAgainAfterEachFailure) {
  Semaphore semaphore(1);
  failingWaits = 1000;
  EXPECT_EQ(semaphore.wait(), 0);
  EXPECT_EQ(failingWaits, 0);
  EXPECT_EQ(countOf(semaphore), 0);
}

TEST(Semaphore, SignalsAgainAfterEachFailure) {
  Semaphore semaphore(0);
  failingPosts = 1000;
  EXPECT_EQ(semaphore.signal(), 0);
  EXPECT_EQ(failingPosts, 0);
  EXPECT_EQ(countOf(semaphore), 1);
}

TEST(Semaphore, IsSafeToUseFromManyThreads) {
  constexpr int rounds = 2000;
  Semaphore turn(1);
  int counter = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        turn.wait();
        ++counter;
        turn.signal();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, 4 * rounds);
}

TEST(Semaphore, AnswersItselfAsItsInstance) {
  Semaphore semaphore(5);
  EXPECT_EQ(semaphore.getInstance(), &semaphore);
  EXPECT_EQ(countOf(semaphore), 5);
}

TEST(Semaphore, KeepsTheInitialCountBehindTheSystemsSemaphore) {
  Semaphore semaphore(3);
  semaphore.wait();
  std::int32_t initial = 0;
  std::memcpy(&initial, reinterpret_cast<const char*>(&semaphore) + sizeof(sem_t), sizeof(initial));
  EXPECT_EQ(initial, 3);
  EXPECT_FALSE(std::is_polymorphic_v<Semaphore>);
}

}  // namespace
