#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AllocationFaults.h"
#include "MallocFaults.h"
#include "Program.h"
#include "TemporaryFolder.h"

namespace {

using testing::AnyOf;
using testing::Eq;
using testing::HasSubstr;

// Runs commands in this process while allocations fail.
class NoMemory : public testing::Test {
 protected:
  // Returns the exit code of the command whose n-th allocation and all after it fail. Does not count those of
  // capturing.
  int run(const std::vector<const char*>& arguments, int n) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int code = 0;
    {
      const AllocationFaults faults = AllocationFaults::from(n);
      code = frontend::runProgram(static_cast<int>(arguments.size()), arguments.data());
      failed_ = faults.happened();
    }
    testing::internal::GetCapturedStdout();
    errors_ = testing::internal::GetCapturedStderr();
    return code;
  }

  bool failed_ = true;
  std::string errors_;
};

TEST_F(NoMemory, IsReportedWithoutAnAllocation) {
  EXPECT_EQ(run({"q750", "list"}, 1), 10);
  EXPECT_THAT(errors_, Eq("q750: There is not enough memory for the picture. Close other programs, or scan a "
                          "smaller area or at a lower resolution.\n"));
}

TEST_F(NoMemory, EndsNoCommandWithoutASentence) {
  const TemporaryFolder folder;
  const std::string output = folder / "page.png";
  const std::vector<std::vector<const char*>> commands = {
      {"q750", "--version"},
      {"q750", "scan", "--dpi", "7"},
      {"q750", "scan", "--device", "virtual", "--progress", "json", "--output", output.c_str()}};
  for (const auto& command : commands) {
    failed_ = true;
    for (int n = 1; n < 60 && failed_; ++n) {
      const int code = run(command, n);
      EXPECT_TRUE(!failed_ || (code == 10 && !errors_.empty())) << command[1] << " " << n << " " << errors_;
    }
  }
}

// std::terminate() is called without one where even its reserve of memory is missing.
TEST(NoMemoryDeathTest, IsReportedWhereNoExceptionCanBeMade) {
  const auto terminate = [] {
    const MallocFaults faults = MallocFaults::from(1);
    frontend::endWithoutMemory();
  };
  EXPECT_EXIT(terminate(), testing::ExitedWithCode(10), "q750: There is not enough memory");
}

}  // namespace
