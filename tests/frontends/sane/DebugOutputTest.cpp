#include <gtest/gtest.h>

#include <cstdlib>

#include "DebugOutput.h"

namespace {

using frontend::DebugOutput;

class DebugOutputOn : public testing::Test {
 protected:
  ~DebugOutputOn() override { unsetenv("SANE_DEBUG_QUENVAR"); }
  static int levelWith(const char* text) {
    setenv("SANE_DEBUG_QUENVAR", text, 1);
    return DebugOutput::levelOfEnvironment();
  }
};

TEST_F(DebugOutputOn, StandardErrorIsNoneUnlessAskedFor) {
  unsetenv("SANE_DEBUG_QUENVAR");
  EXPECT_EQ(DebugOutput::levelOfEnvironment(), 0);
  testing::internal::CaptureStderr();
  DebugOutput(0).line(DebugOutput::failures, "silent");
  DebugOutput(2).line(DebugOutput::steps, "silent");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(DebugOutputOn, StandardErrorNamesTheBackEnd) {
  testing::internal::CaptureStderr();
  DebugOutput(3).line(DebugOutput::steps, "found virtual");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[quenvar] found virtual\n");
}

TEST_F(DebugOutputOn, TheLevelOfTheEnvironmentTakesNumbersOnly) {
  EXPECT_EQ(levelWith("5"), 5);
  EXPECT_EQ(levelWith("128"), 128);
  EXPECT_EQ(levelWith(""), 0);
  EXPECT_EQ(levelWith("loud"), 0);
}

}  // namespace
