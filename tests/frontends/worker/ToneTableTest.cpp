#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "ToneTable.h"

namespace {

using frontend::Tone;
using frontend::toneTable;
using frontend::ToneTable;

ToneTable unchanged() {
  ToneTable table{};
  for (std::size_t sample = 0; sample < table.size(); ++sample)
    table[sample] = static_cast<std::uint8_t>(sample);
  return table;
}

TEST(ToneTable, ChangesNothingWhereTheToneIsNeutral) {
  EXPECT_EQ(toneTable(Tone()), unchanged());
}

TEST(ToneTable, ShiftsBrightnessByPercentOfTheScale) {
  const ToneTable lighter = toneTable({.brightness = 20});  // 51 of 255
  EXPECT_EQ(lighter[0], 51);
  EXPECT_EQ(lighter[100], 151);
  EXPECT_EQ(lighter[204], 255);
  EXPECT_EQ(lighter[205], 255);
  const ToneTable darker = toneTable({.brightness = -20});
  EXPECT_EQ(darker[51], 0);
  EXPECT_EQ(darker[255], 204);
}

TEST(ToneTable, IsAllWhiteOrAllBlackAtTheEndsOfBrightness) {
  const ToneTable white = toneTable({.brightness = 100});
  const ToneTable black = toneTable({.brightness = -100});
  EXPECT_EQ(std::count(white.begin(), white.end(), 255), 256);
  EXPECT_EQ(std::count(black.begin(), black.end(), 0), 256);
}

TEST(ToneTable, TurnsContrastAboutTheMiddle) {
  const ToneTable more = toneTable({.contrast = 50});  // three times as steep
  EXPECT_EQ(more[127], 126);                           // -0.5 becomes -1.5
  EXPECT_EQ(more[128], 129);
  EXPECT_EQ(more[85], 0);
  EXPECT_EQ(more[170], 255);
  const ToneTable less = toneTable({.contrast = -50});  // a third as steep
  EXPECT_EQ(less[0], 85);
  EXPECT_EQ(less[255], 170);
}

TEST(ToneTable, IsGrayOrBlackAndWhiteAtTheEndsOfContrast) {
  const ToneTable gray = toneTable({.contrast = -100});
  EXPECT_EQ(std::count(gray.begin(), gray.end(), 128), 256);
  const ToneTable hard = toneTable({.contrast = 100});
  EXPECT_EQ(std::count(hard.begin(), hard.begin() + 128, 0), 128);
  EXPECT_EQ(std::count(hard.begin() + 128, hard.end(), 255), 128);
}

TEST(ToneTable, LightensMidtonesAndKeepsTheEndsWithGamma) {
  const ToneTable lighter = toneTable({.gammaHundredths = 200});  // the square root
  EXPECT_EQ(lighter[0], 0);
  EXPECT_EQ(lighter[64], 128);  // 255 * sqrt(64 / 255) = 127.7
  EXPECT_EQ(lighter[255], 255);
  const ToneTable darker = toneTable({.gammaHundredths = 50});  // the square
  EXPECT_EQ(darker[128], 64);                                   // 64.25
  EXPECT_EQ(darker[255], 255);
}

TEST(ToneTable, AppliesGammaThenContrastThenBrightness) {
  // 64 becomes 127.75 by gamma, 128.25 by contrast (3 times 0.25 past the middle), 153.75 by brightness.
  const ToneTable table = toneTable({.brightness = 10, .contrast = 50, .gammaHundredths = 200});
  EXPECT_EQ(table[64], 154);
}

TEST(ToneTable, NeverFalls) {
  for (const std::int32_t brightness : {-100, -33, 0, 100}) {
    for (const std::int32_t contrast : {-100, -99, 0, 99, 100}) {
      for (const std::uint32_t gamma : {10U, 99U, 100U, 500U}) {
        const ToneTable table = toneTable({brightness, contrast, gamma});
        EXPECT_TRUE(std::is_sorted(table.begin(), table.end()))
            << brightness << ' ' << contrast << ' ' << gamma;
      }
    }
  }
}

}  // namespace
