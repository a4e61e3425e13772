#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

#include "ProgramFixture.h"

namespace {

using testing::AnyOf;
using testing::StartsWith;

class ProgramInterrupted : public ProgramFixture {
 protected:
  // Saves a small page, interrupted in the n-th call of the heap after the handler was installed.
  ProgramResult scanInterrupted(int signal, long n, int times) {
    const std::string where = std::to_string(signal) + " " + std::to_string(n) + " " + std::to_string(times);
    return runProgram(scanArguments({"-a", "0x0+99x99px", "-r", "75", "-q", "-o", path}), [&where] {
      setenv("Q750_INTERRUPT", where.c_str(), 1);
      setenv("LD_PRELOAD", Q750_INTERRUPTING_HEAP, 1);
    });
  }

  std::string path = folder / "page.png";
};

TEST_F(ProgramInterrupted, NeitherAllocatesNorLocksInAHandler) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    int calls = 0;
    for (long n = signal;; n += 1 + n / 15) {
      const ProgramResult result = scanInterrupted(signal, n, static_cast<int>(1 + n % 2));
      ASSERT_THAT(result.exitCode, AnyOf(0, 130, 128 + signal)) << signal << " in call " << n;
      if (result.errors.empty()) break;  // the page was saved: the handler is gone, or there are fewer calls
      EXPECT_EQ(result.exitCode, 130);
      EXPECT_THAT(result.errors, StartsWith("q750: The scan was cancelled; "));
      ++calls;
    }
    EXPECT_GT(calls, 20);
  }
}

}  // namespace
