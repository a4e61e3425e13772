#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ProgressDisplay.h"
#include "ProgressMeter.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint64_t megabyte = 1000000;

TEST(ProgressMeter, CountsARoundHundredOnlyAtTheEnd) {
  ProgressMeter meter;
  EXPECT_EQ(meter.percent(), 0U);
  meter.update({999, 1000}, TimePoint(0s));
  EXPECT_EQ(meter.percent(), 99U);
  meter.update({1000, 1000}, TimePoint(0s));
  EXPECT_EQ(meter.percent(), 100U);
}

TEST(ProgressMeter, MeasuresTheRateFromTheFirstBytesOn) {
  ProgressMeter meter;
  meter.update({0, 30 * megabyte}, TimePoint(0s));
  EXPECT_FALSE(meter.bytesPerSecond());
  meter.update({1 * megabyte, 30 * megabyte}, TimePoint(40s));  // warming up does not count
  EXPECT_EQ(meter.figures(), "  3 %");
  meter.update({11 * megabyte, 30 * megabyte}, TimePoint(44s));
  EXPECT_EQ(meter.figures(), " 36 %  2.5 MB/s  0:08 left");
}

TEST(ProgressMeter, WritesTimesAsPeopleDo) {
  const struct {
    std::uint64_t total;
    const char* text;
  } cases[] = {
      {61, "  3 %  0.0 MB/s  1:00 left"},
      {3601, "  0 %  0.0 MB/s  1:00:00 left"},
      {4000000000000, "  0 %  0.0 MB/s  99:59:59 left"},
  };
  for (const auto& one : cases) {
    ProgressMeter meter;
    meter.update({1, one.total + 1}, TimePoint(0s));
    meter.update({2, one.total + 1}, TimePoint(1s));
    EXPECT_EQ(meter.figures(), one.text);
  }
}

TEST(ProgressMeter, LeavesTheTimeOutAtTheEnd) {
  ProgressMeter meter;
  meter.update({megabyte, 3 * megabyte}, TimePoint(0s));
  meter.update({3 * megabyte, 3 * megabyte}, TimePoint(1s));
  EXPECT_EQ(meter.figures(), "100 %  2.0 MB/s");
}

TEST(ProgressMeter, WorksWithoutATotal) {
  ProgressMeter meter;
  meter.update({0, 0}, TimePoint(0s));
  EXPECT_EQ(meter.figures(), "  0 %");
}

class Display : public testing::Test {
 protected:
  void use(ProgressStyle style, std::size_t columns = 80) {
    display = std::make_unique<ProgressDisplay>(
        style, columns, [this](std::string_view text) { output.emplace_back(text); }, [this] { return now; });
  }
  // One percent every `step`.
  void run(std::chrono::milliseconds step) {
    for (std::uint64_t percent = 1; percent <= 100; ++percent) {
      now += step;
      display->update({percent * megabyte / 10, 10 * megabyte});
    }
    display->finish();
  }

  TimePoint now{1000s};
  std::vector<std::string> output;
  std::unique_ptr<ProgressDisplay> display;
};

TEST_F(Display, PrintsALineAtEveryTenthWhereNoTerminalIs) {
  use(ProgressStyle::plain);
  run(10ms);
  EXPECT_THAT(
      output,
      ElementsAre(
          "q750: scanning:  10 %  10.0 MB/s  0:01 left\n", "q750: scanning:  20 %  10.0 MB/s  0:01 left\n",
          "q750: scanning:  30 %  10.0 MB/s  0:01 left\n", "q750: scanning:  40 %  10.0 MB/s  0:01 left\n",
          "q750: scanning:  50 %  10.0 MB/s  0:01 left\n", "q750: scanning:  60 %  10.0 MB/s  0:00 left\n",
          "q750: scanning:  70 %  10.0 MB/s  0:00 left\n", "q750: scanning:  80 %  10.0 MB/s  0:00 left\n",
          "q750: scanning:  90 %  10.0 MB/s  0:00 left\n", "q750: scanning: 100 %  10.0 MB/s\n"));
}

TEST_F(Display, PrintsOneLineForAScanThatArrivesAtOnce) {
  use(ProgressStyle::plain);
  display->update({10, 10});
  EXPECT_THAT(output, ElementsAre("q750: scanning: 100 %\n"));
}

TEST_F(Display, DrawsTheBarAgainOnTheSameLine) {
  use(ProgressStyle::bar);
  display->update({0, 8 * megabyte});
  now += 1s;
  display->update({2 * megabyte, 8 * megabyte});
  now += 1s;
  display->update({4 * megabyte, 8 * megabyte});
  now += 1s;
  display->update({8 * megabyte, 8 * megabyte});
  display->finish();
  EXPECT_THAT(output,
              ElementsAre("\r[........................................]   0 %",
                          "\r[##########..............................]  25 %",
                          "\r[####################....................]  50 %  2.0 MB/s  0:02 left",
                          "\r[########################################] 100 %  3.0 MB/s           ", "\n"));
}

TEST_F(Display, ReplacesTheWaitForTheScannerByTheBar) {
  use(ProgressStyle::bar, 46);
  display->wait();
  display->update({0, 8});
  EXPECT_THAT(output, ElementsAre("\rwaiting for the scanner", "\r[............]   0 %   "));
}

TEST_F(Display, PrintsThatItWaitsForTheScanner) {
  use(ProgressStyle::plain);
  display->wait();
  display->update({1, 8});
  EXPECT_THAT(output, ElementsAre("q750: waiting for the scanner\n", "q750: scanning:  12 %\n"));
  output.clear();
  use(ProgressStyle::json);
  display->wait();
  EXPECT_THAT(output, ElementsAre("{\"event\":\"waiting\",\"page\":1}\n"));
}

TEST_F(Display, LeavesTheCursorBelowAWaitThatEndsWithoutABar) {
  use(ProgressStyle::bar, 12);
  display->wait();
  display.reset();
  EXPECT_THAT(output, ElementsAre("\rwaiting for", "\n"));
}

TEST_F(Display, DrawsAtMostTenTimesASecondAndTheLastOneAlways) {
  use(ProgressStyle::bar);
  run(10ms);
  EXPECT_THAT(output, SizeIs(testing::Le(12)));
  EXPECT_THAT(output.at(output.size() - 2), testing::HasSubstr("100 %"));
}

TEST_F(Display, KeepsTheBarWithinTheScreen) {
  for (const std::size_t columns : {0U, 1U, 5U, 20U, 40U, 50U, 79U, 200U}) {
    output.clear();
    use(ProgressStyle::bar, columns);
    run(100ms);
    for (const std::string& text : output)
      EXPECT_LE(text.size(), std::max<std::size_t>(columns, 1)) << columns;
  }
}

TEST_F(Display, EndsTheBarsLineOnceOnly) {
  use(ProgressStyle::bar);
  display->finish();
  EXPECT_THAT(output, IsEmpty());
  display->update({1, 10});
  display->finish();
  display.reset();
  EXPECT_THAT(output, ElementsAre(testing::_, "\n"));
}

TEST_F(Display, ShowsNothingWhereNothingIsWanted) {
  use(ProgressStyle::none);
  display->wait();
  run(100ms);
  display.reset();
  EXPECT_THAT(output, IsEmpty());
}

}  // namespace
