#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "ProgramFixture.h"

namespace {

using testing::AnyOf;
using testing::HasSubstr;

constexpr std::size_t KiB = 1024;

// The command line with a stack limit, as set by ulimit -s.
class StackLimit : public ProgramFixture {
 protected:
  static std::function<void()> limited(std::size_t bytes) {
    return [bytes] {
      const rlimit limit{bytes, bytes};
      setrlimit(RLIMIT_STACK, &limit);
    };
  }
};

TEST_F(StackLimit, Of64KiBIsEnoughForEveryCommand) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer's frames are several times as large";
#endif
  const std::vector<std::string> area = {"-r", "75", "-a", "0x0+20x15mm", "--quiet", "-o"};
  for (const char* name : {"page.png", "page.jpg", "page.pdf", "page.tiff", "page.pnm"}) {
    std::vector<std::string> arguments = area;
    arguments.push_back(folder / name);
    const ProgramResult result = scan(arguments, limited(64 * KiB));
    EXPECT_EQ(result.exitCode, 0) << name << ": " << result.errors;
  }
  EXPECT_EQ(runProgram({"list"}, limited(64 * KiB)).exitCode, 0);
  EXPECT_THAT(runProgram({"doctor"}, limited(64 * KiB)).exitCode, AnyOf(0, 2));
}

TEST_F(StackLimit, ThatIsTooSmallIsReported) {
  for (const std::size_t size : {24, 32, 40}) {
    const ProgramResult result = runProgram({"--version"}, limited(size * KiB));
    EXPECT_EQ(result.exitCode, 10) << size;
    EXPECT_THAT(result.errors, HasSubstr("ulimit -s"));
  }
}

// The threads of a worker would have stacks as large, and there is not that much memory for one.
TEST_F(StackLimit, OfAGigabyteTakesNoMemoryFromTheWorker) {
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  if (limit.rlim_max < 1024 * 1024 * KiB) GTEST_SKIP() << "the limit cannot be raised here";
  const ProgramResult result =
      scan({"-r", "75", "-a", "0x0+20x15mm", "-o", folder / "page.png"}, limited(1024 * 1024 * KiB));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

}  // namespace
