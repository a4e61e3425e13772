#include "ConversionTest.h"
#include "TiffFile.h"

namespace {

using BadInput = ConversionTest;

TEST_F(BadInput, ReadsARasterShorterThanItsHeaderSaysAsZerosInTheBlockAndTheTiff) {
  EXPECT_EQ(convert("P6\n#\n4 2\n255\nabc"), 0);
  const std::string expected = "abc" + std::string(21, '\0');
  EXPECT_EQ(rasterText(), expected);
  const TiffFile tiff(tiffPath);
  EXPECT_EQ(std::string(tiff.pixels.begin(), tiff.pixels.end()), expected);
}

TEST_F(BadInput, IgnoresWhatARasterLongerThanItsHeaderSaysHasTooMuch) {
  EXPECT_EQ(convert("P5\n#\n2 2\n255\nabcdef"), 0);
  EXPECT_EQ(rasterText(), "abcd");
}

TEST_F(BadInput, TakesNoDataForAnEmptyFormat) {
  EXPECT_EQ(convert(nullptr), 0);
  EXPECT_EQ(width, unset);
  EXPECT_EQ(height, unset);
  EXPECT_EQ(samplesPerPixel, 0U);
  EXPECT_NE(raster, nullptr);
  EXPECT_EQ(rasterLength, 0U);
}

TEST_F(BadInput, ComesThroughEveryPrefixOfAFile) {
  const std::string file = "P6\n# comment\n4 2\n255\nabcdefghijklmnopqrstuvwx";
  for (std::size_t length = 0; length <= file.size(); ++length) {
    width = height = 1;
    EXPECT_EQ(convert(file.substr(0, length)), 0) << length;
    EXPECT_EQ(samplesPerPixel, length < 2 ? 0U : 3U) << length;
    EXPECT_EQ(rasterLength, samplesPerPixel * width * height) << length;
  }
}

struct MissingLineFeed {
  const char* what;
  const char* file;
  std::uint32_t width;
  std::uint32_t height;
  const char* raster;  // what there is of it
};

class MissingLineFeedTest : public BadInput, public testing::WithParamInterface<MissingLineFeed> {};

TEST_P(MissingLineFeedTest, MeansTheEndOfTheData) {
  width = height = 2;
  EXPECT_EQ(convert(GetParam().file), 0);
  EXPECT_EQ(width, GetParam().width);
  EXPECT_EQ(height, GetParam().height);
  std::string expected = GetParam().raster;
  expected.resize(std::size_t{width} * height);
  EXPECT_EQ(rasterText(), expected);
}

const MissingLineFeed missingLineFeeds[] = {
    {"None", "P5\n#\n3 1\n255\nabc", 3, 1, "abc"},
    {"InLine1", "P5", 2, 2, ""},
    {"InLine2", "P5\n# 3 1", 2, 2, ""},
    {"BeforeLine3", "P5\n#\n", 2, 2, ""},
    {"InLine3", "P5\n#\n3 1", 3, 1, ""},
    {"InLine3OfAOneBitFile", "P4\n#\n3 1", 3, 1, ""},
    {"InLine4", "P5\n#\n3 1\n255 abc", 3, 1, ""},
    {"CarriageReturnsInstead", "P5\r#\r3 1\r255\rabc", 2, 2, ""},
};
INSTANTIATE_TEST_SUITE_P(BadInput, MissingLineFeedTest, testing::ValuesIn(missingLineFeeds),
                         [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(BadInput, TakesTheMaximumForTheSizeWhereTheCommentIsMissing) {
  EXPECT_EQ(convert("P5\n4 2\n255 1\nabc\nxyz"), 0);
  EXPECT_EQ(width, 255U);
  EXPECT_EQ(height, 1U);
  EXPECT_EQ(rasterText(), "xyz" + std::string(252, '\0'));
}

TEST_F(BadInput, LeavesTheCallersValueWhereANumberIsMissing) {
  EXPECT_EQ(convert("P5\n#\n4\n255\n"), 0);
  EXPECT_EQ(width, 4U);
  EXPECT_EQ(height, unset);
  EXPECT_EQ(convert("P5\n#\nfour 2\n255\n"), 0);
  EXPECT_EQ(width, 4U);
  EXPECT_EQ(height, unset);
}

TEST_F(BadInput, IgnoresTheMaximumValue) {
  for (const char* maximum : {"65535", "-1", "none", ""}) {
    EXPECT_EQ(convert(std::string("P5\n#\n2 1\n") + maximum + "\nab"), 0);
    EXPECT_EQ(rasterText(), "ab");
  }
}

TEST_F(BadInput, TakesNegativeSizesModulo32Bits) {
  EXPECT_EQ(convert("P5\n#\n-2 -3\n255\nabcdefgh"), 0);
  EXPECT_EQ(width, 0xFFFFFFFEU);
  EXPECT_EQ(height, 0xFFFFFFFDU);
  EXPECT_EQ(rasterText(), "abcdef");
  EXPECT_FALSE(wroteTiff());
}

TEST_F(BadInput, SaturatesSizesBeyondAnInt) {
  refuseBlocks();
  EXPECT_EQ(convert("P5\n#\n99999999999 -99999999999\n255\n"), 1);
  EXPECT_EQ(width, 0x7FFFFFFFU);
  EXPECT_EQ(height, 0x80000000U);
  EXPECT_EQ(refusedBytes, 0x80000000U);
}

TEST_F(BadInput, ComputesTheRasterLengthModulo32Bits) {
  EXPECT_EQ(convert("P5\n#\n65536 65536\n255\nabc"), 0);
  EXPECT_EQ(width, 65536U);
  EXPECT_EQ(height, 65536U);
  EXPECT_NE(raster, nullptr);
  EXPECT_EQ(rasterLength, 0U);
  EXPECT_FALSE(wroteTiff());
  // 65537 x 65537 x 3 is 393219 more than three times 2^32.
  EXPECT_EQ(convert("P6\n#\n65537 65537\n255\nabc"), 0);
  EXPECT_EQ(rasterText(), "abc" + std::string(393216, '\0'));
  EXPECT_FALSE(wroteTiff());
}

TEST_F(BadInput, WrapsTheBytesOfARow) {
  // 1431655766 x 3 is 2 more than 2^32.
  EXPECT_EQ(convert("P6\n#\n1431655766 2\n255\nabcd"), 0);
  EXPECT_EQ(rasterText(), "abcd");
  EXPECT_FALSE(wroteTiff());
}

TEST_F(BadInput, TakesNoSizeForAnEmptyPicture) {
  EXPECT_EQ(convert("P6\n#\n0 0\n255\nabc"), 0);
  EXPECT_NE(raster, nullptr);
  EXPECT_EQ(rasterLength, 0U);
  EXPECT_FALSE(wroteTiff());
}

}  // namespace
