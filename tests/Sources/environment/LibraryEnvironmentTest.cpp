#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "ConversionEnvironment.h"
#include "FileKeeping.h"
#include "LibraryEnvironment.h"
#include "RecordingLogSink.h"
#include "ScriptedUsbStack.h"

namespace {

using testing::ElementsAre;

// What an environment changes, as it is now.
struct Settings {
  platform::UsbStack* usbStack = &platform::usbStack();
  platform::LogSink* logSink = platform::chosenLogSink();
  bool filesAreKept = platform::filesAreKept();
  void* (*allocateZeroed)(std::size_t, std::size_t) = conversionEnvironment().allocateZeroed;

  friend bool operator==(const Settings&, const Settings&) = default;
};

// A process whose four settings are none of their defaults.
class ChangedProcess : public testing::Test {
 protected:
  ChangedProcess() {
    platform::useUsbStack(&stackBefore);
    platform::useLogSink(&logBefore);
    platform::keepFiles(true);
    conversionEnvironment().allocateZeroed = [](std::size_t count, std::size_t size) {
      return std::calloc(count + 1, size);
    };
    before = Settings();
  }
  ~ChangedProcess() override {
    platform::useUsbStack(nullptr);
    platform::useLogSink(nullptr);
    conversionEnvironment().allocateZeroed = std::calloc;
  }

  fakes::ScriptedUsbStack stackBefore;
  RecordingLogSink logBefore;
  Settings before;
  fakes::ScriptedUsbStack stack;
  RecordingLogSink log;
};

TEST_F(ChangedProcess, HasTheStackOfItsEnvironmentAndThenItsOwn) {
  {
    const LibraryEnvironment environment(stack, &log);
    EXPECT_EQ(&platform::usbStack(), &stack);
  }
  EXPECT_EQ(&platform::usbStack(), &stackBefore);
}

TEST_F(ChangedProcess, LogsToItsEnvironmentAndThenToItsOwnSink) {
  {
    const LibraryEnvironment environment(stack, &log);
    platform::log("during");
  }
  platform::log("after");
  EXPECT_THAT(log.lines, ElementsAre("during"));
  EXPECT_THAT(logBefore.lines, ElementsAre("after"));
}

TEST_F(ChangedProcess, KeepsNoFilesInItsEnvironment) {
  for (const bool kept : {true, false}) {
    platform::keepFiles(kept);
    {
      const LibraryEnvironment environment(stack, &log);
      EXPECT_FALSE(platform::filesAreKept());
    }
    EXPECT_EQ(platform::filesAreKept(), kept);
  }
  platform::keepFiles(true);
}

TEST_F(ChangedProcess, HasNoMemoryForACopyOfThePictureInItsEnvironment) {
  {
    const LibraryEnvironment environment(stack, &log);
    EXPECT_EQ(conversionEnvironment().allocateZeroed(1, 1), nullptr);
  }
  void* block = conversionEnvironment().allocateZeroed(1, 1);
  EXPECT_NE(block, nullptr);
  std::free(block);
  EXPECT_EQ(Settings(), before);
}

TEST_F(ChangedProcess, GetsEverySettingBackAfterAnException) {
  const auto work = [this] {
    const LibraryEnvironment environment(stack, &log);
    EXPECT_NE(Settings(), before);
    throw std::runtime_error("of the scan");
  };
  EXPECT_THROW(work(), std::runtime_error);
  EXPECT_EQ(Settings(), before);
}

TEST_F(ChangedProcess, MayHaveOneEnvironmentAfterAnother) {
  { const LibraryEnvironment first(stackBefore, &logBefore); }
  const LibraryEnvironment second(stack, &log);
  EXPECT_EQ(&platform::usbStack(), &stack);
}

TEST_F(ChangedProcess, RefusesASecondEnvironmentAndKeepsTheFirst) {
  {
    const LibraryEnvironment first(stack, &log);
    const Settings during;
    EXPECT_THROW(LibraryEnvironment(stackBefore, nullptr), std::logic_error);
    EXPECT_EQ(Settings(), during);
    EXPECT_THROW(LibraryEnvironment(stackBefore, nullptr), std::logic_error);
  }
  EXPECT_EQ(Settings(), before);
}

TEST(LibraryEnvironment, BringsTheDefaultsBack) {
  const Settings defaults;
  fakes::ScriptedUsbStack stack;
  { const LibraryEnvironment environment(stack, nullptr); }
  EXPECT_EQ(Settings(), defaults);
  EXPECT_EQ(platform::chosenLogSink(), nullptr);
}

// A line whose text must not be read.
class UnreadLine final : public platform::LogLine {
 public:
  void read(const PieceReader& /*reader*/) const override { ADD_FAILURE() << "the line was formatted"; }
};

TEST(LibraryEnvironment, DropsLogLinesUnreadWithoutASink) {
  fakes::ScriptedUsbStack stack;
  const LibraryEnvironment environment(stack, nullptr);
  testing::internal::CaptureStderr();
  platform::log(UnreadLine());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
