#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Area.h"
#include "Bed.h"
#include "CommandError.h"

namespace {

using namespace frontend;
using testing::AllOf;
using testing::HasSubstr;

std::string inWords(const Length& length) {
  const char* units[] = {"mm", "in", "px"};
  char text[40];
  std::snprintf(text, sizeof text, "%g%s", length.value, units[static_cast<int>(length.unit)]);
  return text;
}

// The area as parsed, or the error message.
std::string understood(const std::string& text) {
  try {
    const AreaRequest area = parseArea(text);
    return inWords(area.left) + " " + inWords(area.top) + " " + inWords(area.width) + " " +
           inWords(area.height);
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(AreaGrammar, AcceptsAUnitForAllOrOneForEach) {
  const struct {
    const char* text;
    const char* meaning;
  } cases[] = {
      {"10x20+50x80mm", "10mm 20mm 50mm 80mm"},       {"10mmx20mm+50mmx80mm", "10mm 20mm 50mm 80mm"},
      {"0x0+8.5x11.69in", "0in 0in 8.5in 11.69in"},   {"0.25inx1in+10mmx640px", "0.25in 1in 10mm 640px"},
      {"0pxx0px+640pxx480px", "0px 0px 640px 480px"}, {"0x0+640x480px", "0px 0px 640px 480px"},
      {"00.50x1+1x1mm", "0.5mm 1mm 1mm 1mm"},
  };
  for (const auto& one : cases) EXPECT_EQ(understood(one.text), one.meaning) << one.text;
}

TEST(AreaGrammar, RejectsEverythingElse) {
  const struct {
    const char* text;
    const char* complaint;
  } cases[] = {
      {"", "a number is missing or malformed"},
      {"10", "it is incomplete"},
      {"10x20", "it is incomplete"},
      {"10x20+50", "it is incomplete"},
      {"10x20+50x", "a number is missing or malformed"},
      {"10x20+50x80", "the unit is missing"},
      {"10x20+50x80cm", "unexpected \"cm\""},
      {"10x20+50x80MM", "unexpected \"MM\""},
      {"10x20+50x80mm ", "unexpected \" \""},
      {" 10x20+50x80mm", "a number is missing or malformed"},
      {"10 x20+50x80mm", "expected \"x\" before \" x20+50x80mm\""},
      {"-10x20+50x80mm", "a number is missing or malformed"},
      {"+10x20+50x80mm", "a number is missing or malformed"},
      {"10x20x50x80mm", "expected \"+\" before \"x50x80mm\""},
      {"10x20+50x80x5mm", "unexpected \"x5mm\""},
      {"1e2x20+50x80mm", "expected \"x\" before \"e2x20+50x80mm\""},
      {"10,5x20+50x80mm", "expected \"x\""},
      {".5x20+50x80mm", "a number is missing or malformed"},
      {"5.x20+50x80mm", "a number is missing or malformed"},
      {"1.2.3x20+50x80mm", "a number is missing or malformed"},
      {"nanx20+50x80mm", "a number is missing or malformed"},
      {"100001x20+50x80mm", "a number is too large"},
      {"99999999999999999999999999x1+1x1px", "a number is too large"},
      {"10mmx20+50x80mm", "give a unit to every number, or to the last one only"},
      {"10mmx20mm+50mmx80", "the unit is missing"},
      {"10x20+50.5x80px", "pixels must be whole numbers"},
  };
  for (const auto& one : cases) {
    EXPECT_THAT(understood(one.text),
                AllOf(HasSubstr("--area " + std::string(one.text) + ": "), HasSubstr(one.complaint),
                      HasSubstr("for example 10x20+50x80mm.")))
        << one.text;
  }
}

PlacedArea placed(const char* text, std::uint32_t resolution) {
  return placeOnBed(parseArea(text), resolution);
}

TEST(AreaOnTheBed, RoundsLengthsToTheNearestPixel) {
  EXPECT_EQ(placed("10x20+50x80mm", 300).area, (PixelArea{118, 236, 591, 945}));
  EXPECT_EQ(placed("25.4x0+25.4x50.8mm", 75).area, (PixelArea{75, 0, 75, 150}));
  EXPECT_EQ(placed("0.5x0.25+4x6in", 600).area, (PixelArea{300, 150, 2400, 3600}));
}

TEST(AreaOnTheBed, TakesPixelsAsTheyAreAtEveryResolution) {
  for (const std::uint32_t resolution : bedResolutions) {
    const PlacedArea area = placed("13x17+101x97px", resolution);
    EXPECT_EQ(area.area, (PixelArea{13, 17, 101, 97}));
    EXPECT_EQ(area.cutPixels, 0U);
  }
}

TEST(AreaOnTheBed, CutsOffWhatExtendsBeyondTheBed) {
  const PlacedArea a4 = placed("0x0+210x297mm", 300);
  EXPECT_EQ(a4.area, (PixelArea{0, 0, 2480, 3507}));
  EXPECT_EQ(a4.cutPixels, 1U);
  EXPECT_EQ(placed("8x11+10x10in", 300).area, (PixelArea{2400, 3300, 150, 207}));
  EXPECT_EQ(placed("8x11+10x10in", 300).cutPixels, 2850U);
  EXPECT_EQ(placed("0x0+100000x1in", 600).cutPixels, 1000000U);
  EXPECT_EQ(placed("636x875+100000x100000px", 75).area, (PixelArea{636, 875, 1, 1}));
}

TEST(AreaOnTheBed, KeepsTheWholeBed) {
  const PlacedArea area = placed("0x0+2550x3507px", 300);
  EXPECT_EQ(area.area, wholeBed(300));
  EXPECT_EQ(area.cutPixels, 0U);
}

TEST(AreaOnTheBed, RejectsAreasWithoutAPixelOnTheBed) {
  for (const char* text :
       {"8.5x0+1x1in", "0x11.69+1x1in", "216x0+5x5mm", "637x0+1x1px", "100000x100000+1x1mm"}) {
    EXPECT_THROW(placed(text, 75), UsageError) << text;
  }
  for (const char* text : {"0x0+0x5mm", "0x0+5x0mm", "1x1+0x0px", "0x0+0.01x5mm"}) {
    EXPECT_THROW(placed(text, 75), UsageError) << text;
  }
}

}  // namespace
