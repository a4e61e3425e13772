#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstddef>
#include <string>

#include "ProgramFixture.h"

namespace {

using testing::AnyOf;

constexpr std::size_t KiB = 1024;
// Of the dynamic loader, which prints a sentence as well.
constexpr int loaderFailed = 127;

// The command line with a limit of its address space, as ulimit -v sets it.
class AddressSpace : public ProgramFixture {
 protected:
  static ProgramResult versionWithin(std::size_t bytes) {
    return runProgram({"--version"}, [bytes] {
      const rlimit limit{bytes, bytes};
      setrlimit(RLIMIT_AS, &limit);
    });
  }
};

// Libraries have constructors that take memory, too, so that it can run out before main().
TEST_F(AddressSpace, ThatIsTooSmallIsReportedAtWhateverMomentItRunsOut) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer takes terabytes of address space";
#endif
  std::size_t size = 2048 * KiB;
  while (versionWithin(size).exitCode != 0 && size < (std::size_t{1} << 30)) size += 1024 * KiB;
  for (std::size_t missing = 0; missing < 2048 * KiB; missing += 32 * KiB) {
    const ProgramResult result = versionWithin(size - missing);
    EXPECT_THAT(result.exitCode, AnyOf(0, 10, loaderFailed)) << (size - missing) / KiB << result.errors;
    EXPECT_EQ(result.exitCode == 0, result.errors.empty()) << result.errors;
  }
}

}  // namespace
