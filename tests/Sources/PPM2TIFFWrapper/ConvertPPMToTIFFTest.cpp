#include <filesystem>
#include <optional>

#include "ConversionTest.h"
#include "TiffFile.h"

using testing::ElementsAre;

namespace {

const std::string rgbRaster = "abcdefghijklmnopqrstuvwx";
const std::string rgbFile = "P6\n# comment\n4 2\n255\n" + rgbRaster;

std::string tagsOf(int width, int height, int bits, int samples, const std::string& photometric) {
  return "  Image Width: " + std::to_string(width) + " Image Length: " + std::to_string(height) +
         "\n  Bits/Sample: " + std::to_string(bits) +
         "\n  Compression Scheme: None\n  Photometric Interpretation: " + photometric +
         "\n  Samples/Pixel: " + std::to_string(samples) + "\n  Rows/Strip: " + std::to_string(height) +
         "\n  Planar Configuration: single image plane\n";
}

TEST_F(ConversionTest, HandsOutTheRasterOfAnRgbFileAndItsTiff) {
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_EQ(width, 4U);
  EXPECT_EQ(height, 2U);
  EXPECT_EQ(samplesPerPixel, 3U);
  EXPECT_EQ(rasterText(), rgbRaster);
  const TiffFile tiff(tiffPath);
  EXPECT_EQ(tiff.tags, tagsOf(4, 2, 8, 3, "RGB color"));
  EXPECT_EQ(std::string(tiff.pixels.begin(), tiff.pixels.end()), rgbRaster);
}

struct FormatRule {
  int format;
  const char* header;
  std::uint32_t samplesPerPixel;
  int bitsPerSample;
  std::size_t rasterLength;
  const char* photometric;         // 10.3 or later
  const char* earlierPhotometric;  // before 10.3
};

class EveryFormat : public ConversionTest, public testing::WithParamInterface<FormatRule> {
 protected:
  void expectTiff(const std::string& photometric) {
    const FormatRule& rule = GetParam();
    const std::string picture(24, 'x');
    EXPECT_EQ(convert(rule.header + picture), 0);
    EXPECT_EQ(samplesPerPixel, rule.samplesPerPixel);
    EXPECT_EQ(rasterText(), picture.substr(0, rule.rasterLength));
    EXPECT_EQ(TiffFile(tiffPath).tags,
              tagsOf(4, 2, rule.bitsPerSample, static_cast<int>(rule.samplesPerPixel), photometric));
  }
};

TEST_P(EveryFormat, IsConvertedOnASystemSince10Point3) {
  expectTiff(GetParam().photometric);
}

TEST_P(EveryFormat, IsConvertedOnAnEarlierSystem) {
  platform::overrideSystemVersion(0x102F);
  expectTiff(GetParam().earlierPhotometric);
}

const FormatRule formatRules[] = {
    {1, "P1\n#\n4 2\n", 1, 1, 8, "min-is-white", "min-is-black"},
    {2, "P2\n#\n4 2\n255\n", 1, 8, 8, "min-is-black", "min-is-white"},
    {3, "P3\n#\n4 2\n255\n", 3, 8, 24, "RGB color", "RGB color"},
    {4, "P4\n#\n4 2\n", 1, 1, 8, "min-is-white", "min-is-black"},
    {5, "P5\n#\n4 2\n255\n", 1, 8, 8, "min-is-black", "min-is-white"},
    {6, "P6\n#\n4 2\n255\n", 3, 8, 24, "RGB color", "RGB color"},
};
INSTANTIATE_TEST_SUITE_P(PPM, EveryFormat, testing::ValuesIn(formatRules),
                         [](const auto& instance) { return "P" + std::to_string(instance.param.format); });

class EmptyFormat : public ConversionTest, public testing::WithParamInterface<char> {};

TEST_P(EmptyFormat, GivesAnEmptyRasterAndNoTiff) {
  EXPECT_EQ(convert(std::string("P") + GetParam() + "\n#\n4 2\n255\nabcdefgh"), 0);
  EXPECT_EQ(width, 4U);
  EXPECT_EQ(height, 2U);
  EXPECT_EQ(samplesPerPixel, 0U);
  EXPECT_NE(raster, nullptr);
  EXPECT_EQ(rasterLength, 0U);
  EXPECT_FALSE(wroteTiff());
}

INSTANTIATE_TEST_SUITE_P(PPM, EmptyFormat, testing::Values('0', '7', '8', '9', 'A', '/', '\0', '\xFF'));

TEST_F(ConversionTest, TakesTheFirstEighthOfEachOneBitRowIntoTheTiff) {
  EXPECT_EQ(convert("P4\n#\n10 2\nabcdefghijklmnopqrst"), 0);
  EXPECT_EQ(rasterText(), "abcdefghijklmnopqrst");
  EXPECT_THAT(TiffFile(tiffPath).pixels, ElementsAre('a', 'b', 'k', 'l'));
}

TEST_F(ConversionTest, SwapsTheGreySpacesBetween102FAnd1030) {
  platform::overrideSystemVersion(0x1030);
  EXPECT_STREQ(colorSpaceNameFromFormat(5), "NSDeviceWhiteColorSpace");
  EXPECT_STREQ(colorSpaceNameFromFormat(4), "NSDeviceBlackColorSpace");
  platform::overrideSystemVersion(0x102F);
  EXPECT_STREQ(colorSpaceNameFromFormat(5), "NSDeviceBlackColorSpace");
  EXPECT_STREQ(colorSpaceNameFromFormat(4), "NSDeviceWhiteColorSpace");
}

TEST_F(ConversionTest, WritesNoTiffButDeliversTheRasterWhereTheSystemVersionCannotBeRead) {
  platform::overrideSystemVersion(std::nullopt);
  for (int format = 0; format < 10; ++format) EXPECT_EQ(colorSpaceNameFromFormat(format), nullptr);
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_EQ(rasterText(), rgbRaster);
  EXPECT_FALSE(wroteTiff());
}

TEST_F(ConversionTest, KnowsTheSamplesAndBitsOfEveryFormat) {
  const int samples[] = {0, 1, 1, 3, 1, 1, 3, 0, 0, 0};
  const int bits[] = {0, 1, 8, 8, 1, 8, 8, 0, 0, 0};
  for (int format = 0; format < 10; ++format) {
    EXPECT_EQ(sppFromFormat(format), samples[format]) << format;
    EXPECT_EQ(bpsFromFormat(format), bits[format]) << format;
  }
  EXPECT_EQ(sppFromFormat(-48), 0);
  EXPECT_EQ(bpsFromFormat(207), 0);
  EXPECT_EQ(colorSpaceNameFromFormat(0), nullptr);
  EXPECT_EQ(colorSpaceNameFromFormat(7), nullptr);
}

TEST_F(ConversionTest, FreesTheBlockOfAnEarlierConversion) {
  raster = static_cast<unsigned char*>(std::malloc(1000));  // a leak, if it were dropped
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_EQ(rasterText(), rgbRaster);
}

TEST_F(ConversionTest, LeavesTheDataAsItWas) {
  const platform::DataRef data(platform::Data::withBytes(rgbFile.data(), rgbFile.size()));
  EXPECT_EQ(convert(data.get()), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(data->bytes()), data->length()), rgbFile);
}

TEST_F(ConversionTest, ReplacesALinkPlantedUnderTheTiffsNameInsteadOfFollowingIt) {
  writeContent(folder / "precious", "precious");
  std::filesystem::create_symlink(folder / "precious", tiffPath);
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_FALSE(isLink(tiffPath));
  EXPECT_EQ(modeOf(tiffPath), 0600U);
  EXPECT_EQ(contentOf(folder / "precious"), "precious");
}

TEST_F(ConversionTest, DoesNotTellThatTheTiffCouldNotBeWritten) {
  std::filesystem::create_directory(tiffPath);
  EXPECT_EQ(convert(rgbFile), 0);
  EXPECT_EQ(rasterText(), rgbRaster);
}

TEST_F(ConversionTest, FailsWhereTheRasterBlockCannotBeHad) {
  raster = static_cast<unsigned char*>(std::malloc(10));
  refuseBlocks();
  EXPECT_EQ(convert(rgbFile), 1);
  EXPECT_EQ(refusedBytes, 24U);
  EXPECT_EQ(raster, nullptr);
  EXPECT_EQ(rasterLength, unset);
  EXPECT_TRUE(wroteTiff());
}

TEST_F(ConversionTest, AnswersMinus108FromCreateTIFFWhereTheBlockCannotBeHad) {
  refuseBlocks();
  const std::uint8_t pixels[] = {1, 2};
  EXPECT_EQ(createTIFF(2, 1, pixels, 5, 255, &raster, &rasterLength), -108);
  EXPECT_EQ(raster, nullptr);
  EXPECT_EQ(rasterLength, unset);
}

TEST_F(ConversionTest, DoesNothingForANullAddress) {
  const platform::DataRef data(platform::Data::withBytes(rgbFile.data(), rgbFile.size()));
  EXPECT_EQ(ConvertPPMToTIFF(data.get(), nullptr, &rasterLength, 0, 0, &width, &height, &samplesPerPixel), 1);
  EXPECT_EQ(ConvertPPMToTIFF(data.get(), &raster, nullptr, 0, 0, &width, &height, &samplesPerPixel), 1);
  EXPECT_EQ(ConvertPPMToTIFF(data.get(), &raster, &rasterLength, 0, 0, nullptr, &height, &samplesPerPixel),
            1);
  EXPECT_EQ(ConvertPPMToTIFF(data.get(), &raster, &rasterLength, 0, 0, &width, nullptr, &samplesPerPixel), 1);
  EXPECT_EQ(ConvertPPMToTIFF(data.get(), &raster, &rasterLength, 0, 0, &width, &height, nullptr), 1);
  EXPECT_EQ(width, unset);
  EXPECT_THAT(log.lines, ElementsAre());
}

TEST(ConversionEnvironment, SendsTheTiffToItsFixedName) {
  EXPECT_EQ(conversionEnvironment().tiffPath, "/tmp/scan.tiff");
  EXPECT_EQ(conversionEnvironment().allocateZeroed, &std::calloc);
}

}  // namespace
