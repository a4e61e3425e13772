#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>

#include "StackLimit.h"

namespace {

constexpr std::size_t KiB = 1024;

// Runs it in a separate process, since limits are permanent. Returns whether it returned true.
bool holdsInChild(const std::function<bool()>& condition) {
  const pid_t process = fork();
  if (process == 0) _exit(condition() ? 0 : 1);
  int status = -1;
  waitpid(process, &status, 0);
  return status == 0;
}

void limitStack(rlim_t bytes) {
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  limit.rlim_cur = bytes;
  setrlimit(RLIMIT_STACK, &limit);
}

std::size_t stackOfThisThread() {
  pthread_attr_t attributes;
  std::size_t size = 0;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstacksize(&attributes, &size);
  pthread_attr_destroy(&attributes);
  return size;
}

TEST(MainStackRoom, IsLessThanTheLimitByWhatIsUsed) {
  EXPECT_TRUE(holdsInChild([] {
    limitStack(4096 * KiB);
    const std::size_t room = platform::mainStackRoom();
    return room < 4096 * KiB && room > 2048 * KiB;
  }));
}

TEST(MainStackRoom, IsNothingWhereMoreIsUsedThanAllowed) {
  EXPECT_TRUE(holdsInChild([] {
    limitStack(1);
    return platform::mainStackRoom() == 0;
  }));
}

TEST(MainStackRoom, HasNoEndWithoutALimit) {
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  if (limit.rlim_max != RLIM_INFINITY) GTEST_SKIP() << "the limit cannot be removed here";
  EXPECT_TRUE(holdsInChild([] {
    limitStack(RLIM_INFINITY);
    return platform::mainStackRoom() == SIZE_MAX;
  }));
}

TEST(ThreadStackSize, IsThatOfLaterThreads) {
  EXPECT_TRUE(holdsInChild([] {
    platform::setThreadStackSize(768 * KiB);
    std::size_t size = 0;
    std::thread([&] { size = stackOfThisThread(); }).join();
    return size >= 768 * KiB && size < 1024 * KiB;
  }));
}

}  // namespace
