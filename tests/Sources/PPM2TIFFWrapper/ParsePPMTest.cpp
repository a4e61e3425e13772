#include "ConversionTest.h"

using testing::ElementsAre;

namespace {

class ParsePPM : public ConversionTest {
 protected:
  void parse(const std::string& ppm) {
    data.reset(platform::Data::withBytes(ppm.data(), ppm.size()));
    parsePPM(data.get(), &width, &height, &view, &format, &maxValue);
  }
  std::string viewText() const { return {view.begin(), view.end()}; }

  platform::DataRef data;
  RasterView view;
  int format = 77;
  int maxValue = 77;
};

TEST_F(ParsePPM, FindsTheRasterAfterFourLines) {
  parse("P6\n# comment\n4 2\n255\nabc\ndef");
  EXPECT_EQ(width, 4U);
  EXPECT_EQ(height, 2U);
  EXPECT_EQ(format, 6);
  EXPECT_EQ(maxValue, 255);
  EXPECT_EQ(viewText(), "abc\ndef");
  EXPECT_EQ(view.data(), data->bytes() + 21);
}

TEST_F(ParsePPM, FindsTheRasterOfOneBitFilesAfterThreeLines) {
  parse("P4\n#\n4 2\n255\nabc");
  EXPECT_EQ(maxValue, 1);
  EXPECT_EQ(viewText(), "255\nabc");
  parse("P1\n#\n4 2\nabc");
  EXPECT_EQ(maxValue, 1);
  EXPECT_EQ(viewText(), "abc");
}

TEST_F(ParsePPM, ReadsOnlyTheSecondByteOfTheFirstLine) {
  parse("x5 and more\n#\n4 2\n255\nabc");
  EXPECT_EQ(format, 5);
  EXPECT_EQ(viewText(), "abc");
}

TEST_F(ParsePPM, TakesTheSecondByteMinus48ForTheFormatWhateverItIs) {
  parse("P\n\n\n\n");
  EXPECT_EQ(format, '\n' - 48);
  parse("P\xFF");
  EXPECT_EQ(format, 207);
  parse("P");
  EXPECT_EQ(format, -48);
}

TEST_F(ParsePPM, LeavesTheMaximumWhereItIsMissing) {
  parse("P5\n#\n4 2\nmax\nabc");
  EXPECT_EQ(maxValue, 77);
  EXPECT_EQ(viewText(), "abc");
}

TEST_F(ParsePPM, LogsTheBufferAndWhatItFound) {
  parse("P5\n#\n4 2\n255\nA");
  EXPECT_THAT(log.lines,
              ElementsAre("Buffer: <50350a23 0a342032 0a323535 0a41>", "offset 1: 2", "offset 2: 4",
                          "offset 3: 8", "line 3: 4 2\n", "width: 4 height: 2 maxValue: 255"));
}

TEST_F(ParsePPM, LogsTheEndOfTheDataForMissingLineFeeds) {
  parse("P5\n#");
  EXPECT_THAT(log.lines, ElementsAre("Buffer: <50350a23>", "offset 1: 2", "offset 2: 4", "offset 3: 4",
                                     "line 3: ", "width: 77 height: 77 maxValue: 77"));
}

TEST_F(ParsePPM, LogsUnsignedSizesAsSignedOnes) {
  parse("P4\n#\n-4 2\n");
  EXPECT_EQ(width, 0xFFFFFFFCU);
  EXPECT_EQ(log.lines.back(), "width: -4 height: 2 maxValue: 1");
}

TEST_F(ParsePPM, LogsTheLineAsItIs) {
  using namespace std::string_literals;
  parse("P4\n#\n 4 2 100%s \0\xE9\n"s);
  EXPECT_EQ(log.lines[4], "line 3:  4 2 100%s \0\xE9\n"s);
}

TEST_F(ParsePPM, LogsSevenLinesForAWholeConversion) {
  convert("P5\n#\n1 1\n255\nA");
  EXPECT_THAT(log.lines, ElementsAre("Buffer: <50350a23 0a312031 0a323535 0a41>", "offset 1: 2",
                                     "offset 2: 4", "offset 3: 8", "line 3: 1 1\n",
                                     "width: 1 height: 1 maxValue: 255", "ConvertPPMToTIFF()"));
}

TEST_F(ParsePPM, LogsSevenLinesForNoDataToo) {
  convert(nullptr);
  EXPECT_THAT(log.lines, ElementsAre("Buffer: (null)", "offset 1: 0", "offset 2: 0", "offset 3: 0",
                                     "line 3: ", "width: 77 height: 77 maxValue: 0", "ConvertPPMToTIFF()"));
}

}  // namespace
