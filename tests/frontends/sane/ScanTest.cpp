#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FrontEnd.h"

namespace {

using testing::AnyOf;
using testing::ElementsAreArray;

class SaneScan : public FrontEnd {};

TEST_F(SaneScan, DeliversTheModelsPageInEveryMode) {
  open();
  for (const char* mode : {"Color", "Gray", "Lineart"}) {
    askForSmallScan(mode);
    ASSERT_EQ(start(), SANE_STATUS_GOOD) << mode;
    EXPECT_TRUE(readAll() == smallPage(mode)) << mode;
    EXPECT_EQ(status, SANE_STATUS_EOF) << mode;
  }
}

TEST_F(SaneScan, DeliversTheWholeGlassInEveryMode) {
  open();
  for (const char* mode : {"Color", "Gray", "Lineart"}) {
    set("mode", mode);
    set("resolution", 150);
    ASSERT_EQ(start(), SANE_STATUS_GOOD) << mode;
    EXPECT_TRUE(readAll() == wholePage(mode, 150)) << mode;
  }
}

TEST_F(SaneScan, DeliversEveryResolutionOfTheMode) {
  open();
  for (const char* mode : {"Color", "Gray"}) {
    for (const SANE_Word resolution : {75, 150, 200, 300, 400, 600}) {
      set("mode", mode);
      set("resolution", resolution);
      setMillimetres("br-x", 25.4);
      setMillimetres("br-y", 25.4);
      ASSERT_EQ(start(), SANE_STATUS_GOOD);
      const std::size_t pixels = mode == std::string("Color") && resolution > 300 ? 300 : resolution;
      EXPECT_EQ(readAll().size(), pixels * pixels * (mode == std::string("Color") ? 3 : 1)) << resolution;
      EXPECT_EQ(status, SANE_STATUS_EOF);
    }
  }
}

TEST_F(SaneScan, TurnsGreyIntoBlackBelowTheThreshold) {
  open();
  for (const int threshold : {0, 1, 60, 200, 255}) {
    askForSmallScan("Lineart");
    set("threshold", threshold);
    start();
    EXPECT_TRUE(readAll() == smallPage("Lineart", threshold)) << threshold;
  }
}

TEST_F(SaneScan, AppliesBrightnessContrastAndGammaToColorAndGray) {
  writeContent(folder / "paper.pgm", std::string("P5 3 1 255\n\0\x80\xff", 14));  // three broad stripes
  begin("virtual-paper " + (folder / "paper.pgm"));
  struct Adjustment {
    const char* option;
    SANE_Word word;
    std::vector<std::uint8_t> stripes;
  };
  for (const Adjustment& one : {Adjustment{"brightness", 0, {0, 128, 255}},
                                {"brightness", 20, {51, 179, 255}},
                                {"brightness", -100, {0, 0, 0}},
                                {"contrast", 100, {0, 255, 255}},
                                {"contrast", -50, {85, 128, 170}},
                                {"analog-gamma", SANE_FIX(2), {0, 181, 255}}}) {
    for (const std::size_t channels : {1U, 3U}) {
      open();
      set("mode", channels == 3 ? "Color" : "Gray");
      set("resolution", 75);
      setMillimetres("br-y", 1);
      set(one.option, one.word);
      start();
      const auto page = readAll();
      const auto at = [&](std::size_t x) { return page.at(x * channels); };
      EXPECT_THAT((std::vector{at(100), at(318), at(530)}), ElementsAreArray(one.stripes))
          << one.option << " " << one.word << ", channels: " << channels;
      library.close(handle);
    }
  }
}

TEST_F(SaneScan, LeavesEveryByteAsItIsWhereTheToneIsNeutral) {
  open();
  askForSmallScan("Color");
  set("brightness", 20);
  set("contrast", -20);
  set("analog-gamma", SANE_FIX(0.5));
  set("brightness", 0);
  set("contrast", 0);
  set("analog-gamma", SANE_FIX(1));
  start();
  EXPECT_TRUE(readAll() == smallPage("Color"));
}

TEST_F(SaneScan, FillsBuffersOfAnySize) {
  open();
  askForSmallScan("Color");
  const auto page = smallPage("Color");
  for (const SANE_Int capacity : {1, 7, 353, 32769, 1000000}) {
    start();
    EXPECT_TRUE(readAll(capacity) == page) << capacity;
  }
}

TEST_F(SaneScan, GoesOnSayingThatItIsAtItsEnd) {
  open();
  askForSmallScan("Gray");
  start();
  readAll();
  EXPECT_EQ(read(), SANE_STATUS_EOF);
  EXPECT_EQ(read(), SANE_STATUS_EOF);
}

TEST_F(SaneScan, ReadsNothingWhereThereIsNone) {
  open();
  EXPECT_EQ(read(), SANE_STATUS_INVAL);
  library.cancel(handle);
  EXPECT_NE(read(), SANE_STATUS_GOOD);
}

TEST_F(SaneScan, RefusesToReadIntoNoRoom) {
  open();
  askForSmallScan("Gray");
  start();
  SANE_Byte byte = 0;
  length = 5;
  EXPECT_EQ(library.read(handle, &byte, 0, &length), SANE_STATUS_INVAL);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(library.read(handle, nullptr, 1, &length), SANE_STATUS_INVAL);
  EXPECT_EQ(library.read(handle, &byte, 1, nullptr), SANE_STATUS_INVAL);
  EXPECT_TRUE(readAll() == smallPage("Gray"));
}

TEST_F(SaneScan, StartsAgainAfterItsEndWithOrWithoutACancel) {
  open();
  askForSmallScan("Gray");
  const auto page = smallPage("Gray");
  for (int round = 0; round < 4; ++round) {
    ASSERT_EQ(start(), SANE_STATUS_GOOD);
    EXPECT_TRUE(readAll() == page);
    if (round % 2 == 1) library.cancel(handle);
  }
  EXPECT_EQ(set("mode", "Color"), SANE_STATUS_GOOD);
  start();
  EXPECT_TRUE(readAll() == smallPage("Color"));
}

TEST_F(SaneScan, StartsAgainWhereOnlyTheLastByteWasRead) {
  open();
  askForSmallScan("Gray");
  start();
  for (auto left = static_cast<SANE_Int>(smallPage("Gray").size()); left > 0; left -= length)
    ASSERT_EQ(read(left), SANE_STATUS_GOOD);
  ASSERT_EQ(start(), SANE_STATUS_GOOD);
  EXPECT_TRUE(readAll() == smallPage("Gray"));
}

TEST_F(SaneScan, IsNotStartedInItsMiddle) {
  open();
  askForSmallScan("Gray");
  start();
  read(10);
  EXPECT_EQ(start(), SANE_STATUS_DEVICE_BUSY);
  received.resize(10);
  while (read() == SANE_STATUS_GOOD) {
  }
  EXPECT_TRUE(received == smallPage("Gray")) << "the scan was not disturbed";
}

TEST_F(SaneScan, IsNotStartedWithAnEmptyArea) {
  open();
  setMillimetres("tl-x", 100);
  EXPECT_EQ(setMillimetres("br-x", 50), SANE_STATUS_GOOD) << "crossed corners are allowed while setting";
  EXPECT_EQ(start(), SANE_STATUS_INVAL);
  EXPECT_EQ(read(), SANE_STATUS_INVAL);
  setMillimetres("tl-x", 0);
  EXPECT_EQ(start(), SANE_STATUS_GOOD);
}

TEST_F(SaneScan, HasTheParametersThatWereExpectedFromItsStartToItsEnd) {
  open();
  struct Expected {
    const char* mode;
    SANE_Frame format;
    SANE_Int depth, rowBytes;
  };
  for (const Expected& one : {Expected{"Color", SANE_FRAME_RGB, 8, 354},
                              {"Gray", SANE_FRAME_GRAY, 8, 118},
                              {"Lineart", SANE_FRAME_GRAY, 1, 15}}) {
    askForSmallScan(one.mode);
    for (int moment = 0; moment < 4; ++moment) {  // before, after the start, in the middle, after the end
      const SANE_Parameters now = parameters();
      EXPECT_EQ(now.format, one.format);
      EXPECT_EQ(now.depth, one.depth);
      EXPECT_EQ(now.pixels_per_line, 118);
      EXPECT_EQ(now.lines, 89);
      EXPECT_EQ(now.bytes_per_line, one.rowBytes);
      EXPECT_EQ(now.last_frame, SANE_TRUE);
      if (moment == 0) start();
      if (moment == 1) read(10);
      if (moment == 2) readAll();
    }
  }
}

TEST_F(SaneScan, LetsNoOptionBeSetInItsMiddle) {
  open();
  askForSmallScan("Gray");
  start();
  EXPECT_EQ(set("mode", "Color"), SANE_STATUS_INVAL);
  read(10);
  EXPECT_EQ(set("br-y", SANE_FIX(1)), SANE_STATUS_INVAL);
  EXPECT_EQ(parameters().format, SANE_FRAME_GRAY);
  readAll();
  EXPECT_EQ(set("mode", "Color"), SANE_STATUS_GOOD);
  EXPECT_EQ(parameters().format, SANE_FRAME_RGB);
}

TEST_F(SaneScan, LeavesAnAutomaticValueToNobody) {
  open();
  for (SANE_Int option = 0; option < 17; ++option) {
    EXPECT_EQ(library.controlOption(handle, option, SANE_ACTION_SET_AUTO, nullptr, nullptr),
              SANE_STATUS_INVAL);
  }
}

TEST_F(SaneScan, LeavesTheInfoOfAGetAlone) {
  open();
  SANE_Word word = 0;
  SANE_Int info = 0;
  EXPECT_EQ(library.controlOption(handle, 0, SANE_ACTION_GET_VALUE, &word, &info), SANE_STATUS_GOOD);
  EXPECT_EQ(word, 17);
  EXPECT_EQ(info, 0);
}

TEST_F(SaneScan, ReturnsFromItsStartBeforeTheScannerIsWarm) {
  begin("virtual-warm-up 600\nvirtual-real-time on");
  open();
  askForSmallScan("Gray");
  ASSERT_EQ(start(), SANE_STATUS_GOOD);
  ASSERT_EQ(library.setIoMode(handle, SANE_TRUE), SANE_STATUS_GOOD);
  EXPECT_EQ(read(), SANE_STATUS_GOOD);
  EXPECT_EQ(length, 0) << "no row yet";
  EXPECT_FALSE(readable(0));
  ASSERT_EQ(library.setIoMode(handle, SANE_FALSE), SANE_STATUS_GOOD);
  EXPECT_TRUE(readAll() == smallPage("Gray"));
}

TEST_F(SaneScan, DeliversRowsWhileTheScannerSendsThem) {
  begin("virtual-speed 20000\nvirtual-real-time on");
  open();
  askForSmallScan("Color");
  start();
  read();
  EXPECT_LT(received.size(), smallPage("Color").size()) << "the first rows come before the last";
  EXPECT_EQ(status, SANE_STATUS_GOOD);
}

TEST_F(SaneScan, WithoutWaitingIsReadableWhereThereIsDataOrTheEnd) {
  begin("virtual-speed 300000\nvirtual-real-time on");
  open();
  askForSmallScan("Color");
  start();
  ASSERT_EQ(library.setIoMode(handle, SANE_TRUE), SANE_STATUS_GOOD);
  for (;;) {
    ASSERT_TRUE(readable(10000));
    if (read() != SANE_STATUS_GOOD) break;
    EXPECT_GT(length, 0) << "what is readable has something";
  }
  EXPECT_EQ(status, SANE_STATUS_EOF);
  EXPECT_TRUE(received == smallPage("Color"));
}

TEST_F(SaneScan, HasIoModeAndDescriptorOnlyWhileItIsThere) {
  open();
  askForSmallScan("Gray");
  SANE_Int descriptor = -1;
  const auto expectNone = [&] {
    EXPECT_EQ(library.setIoMode(handle, SANE_TRUE), SANE_STATUS_INVAL);
    EXPECT_EQ(library.setIoMode(handle, SANE_FALSE), SANE_STATUS_INVAL);
    EXPECT_EQ(library.getSelectFd(handle, &descriptor), SANE_STATUS_INVAL);
  };
  expectNone();
  start();
  EXPECT_EQ(library.setIoMode(handle, SANE_FALSE), SANE_STATUS_GOOD);
  EXPECT_EQ(library.setIoMode(handle, SANE_TRUE), SANE_STATUS_GOOD);
  EXPECT_EQ(library.getSelectFd(handle, &descriptor), SANE_STATUS_GOOD);
  EXPECT_GE(descriptor, 0);
  EXPECT_EQ(library.getSelectFd(handle, nullptr), SANE_STATUS_INVAL);
  EXPECT_EQ(library.setIoMode(handle, SANE_FALSE), SANE_STATUS_GOOD);
  readAll();
  expectNone();
  start();
  EXPECT_EQ(read(1), SANE_STATUS_GOOD);
  EXPECT_EQ(length, 1) << "each scan begins by waiting for its data";
}

struct FaultCase {
  const char* config;
  SANE_Status status;
};

TEST_F(SaneScan, EndsWithAnErrorWhateverGoesWrongAndWorksAfterwards) {
  const FaultCase cases[] = {
      {"virtual-fault stall@7", SANE_STATUS_IO_ERROR},
      {"virtual-fault unplug@1", SANE_STATUS_IO_ERROR},
      {"virtual-fault unplug@7", SANE_STATUS_IO_ERROR},
      {"virtual-fault time-out@1", SANE_STATUS_IO_ERROR},
      {"virtual-fault silence@0\ntimeout 1", SANE_STATUS_IO_ERROR},
      {"virtual-fault truncated-image@10000\ntimeout 1", SANE_STATUS_IO_ERROR},
      {"virtual-fault garbage@10000", SANE_STATUS_IO_ERROR},
      {"virtual-fault wrong-header@3", SANE_STATUS_IO_ERROR},
      {"virtual-fault exception-reply@2", SANE_STATUS_IO_ERROR},
      {"virtual-paper /nowhere.png", SANE_STATUS_IO_ERROR},
      {"virtual-fault nonsense", SANE_STATUS_IO_ERROR},
  };
  for (const FaultCase& one : cases) {
    begin(one.config);
    open();
    askForSmallScan("Color");
    EXPECT_EQ(start(), SANE_STATUS_GOOD) << one.config;
    EXPECT_LT(readAll().size(), smallPage("Color").size() + 1) << one.config;
    EXPECT_EQ(status, one.status) << one.config;
    EXPECT_EQ(read(), one.status) << "said again: " << one.config;
  }
  begin();
  open();
  askForSmallScan("Color");
  start();
  EXPECT_TRUE(readAll() == smallPage("Color"));
}

TEST_F(SaneScan, LeavesTheSameHandleUsableAfterAFailure) {
  begin("virtual-fault unplug@7");
  open();
  askForSmallScan("Color");
  for (int round = 0; round < 2; ++round) {  // every worker has a scanner with the same fault
    EXPECT_EQ(start(), SANE_STATUS_GOOD);
    readAll();
    EXPECT_EQ(status, SANE_STATUS_IO_ERROR);
  }
}

TEST_F(SaneScan, FollowsAChangeOfTheConfiguration) {
  begin("virtual-fault unplug@7");
  open();
  askForSmallScan("Gray");
  start();
  readAll();
  EXPECT_EQ(status, SANE_STATUS_IO_ERROR);
  writeContent(folder / "quenvar.conf", "virtual on\n");
  start();
  EXPECT_TRUE(readAll() == smallPage("Gray"));
}

TEST_F(SaneScan, PrintsNothingEvenWhereItFails) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  begin("virtual-fault unplug@7\nnonsense");
  open();
  askForSmallScan("Color");
  start();
  readAll();
  EXPECT_EQ(status, SANE_STATUS_IO_ERROR);
  end();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(SaneScan, SaysWhatFailedWhereTheEnvironmentAsks) {
  setenv("SANE_DEBUG_QUENVAR", "1", 1);
  testing::internal::CaptureStderr();
  begin("virtual-fault unplug@7\nnonsense");
  open();
  askForSmallScan("Color");
  start();
  readAll();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "[quenvar] quenvar.conf, line 3 ignored: unknown setting or invalid value: nonsense\n"
            "[quenvar] The scanner was disconnected during the scan. Check its cable and power, then scan "
            "again.\n");
}

}  // namespace
