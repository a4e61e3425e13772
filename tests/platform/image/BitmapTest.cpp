#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Bitmap.h"
#include "TemporaryFolder.h"
#include "TiffFile.h"

using platform::Bitmap;
using platform::writeTIFF;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bitmap grey(const Bytes& pixels, std::uint32_t width, std::uint32_t height) {
  return {pixels.data(), pixels.size(), width, height, 8, 1, width, platform::kNSDeviceWhiteColorSpace};
}

Bitmap rgb(const Bytes& pixels, std::uint32_t width, std::uint32_t height) {
  return {pixels.data(), pixels.size(), width, height, 8, 3, width * 3, platform::kNSDeviceRGBColorSpace};
}

// Rows of one byte per pixel, of which only the first eighth is used.
Bitmap oneBit(const Bytes& pixels, std::uint32_t width, std::uint32_t height) {
  return {pixels.data(), pixels.size(), width, height, 1, 1, width, platform::kNSDeviceBlackColorSpace};
}

Bytes counting(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t index = 0; index < count; ++index)
    bytes[index] = static_cast<std::uint8_t>(index * 7 + index / 251);
  return bytes;
}

class WriteTIFF : public testing::Test {
 protected:
  Bytes pixelsOf(const Bitmap& bitmap) {
    EXPECT_TRUE(writeTIFF(bitmap, name));
    return TiffFile(name).pixels;
  }

  TemporaryFolder folder;
  const std::string name = folder / "page.tiff";
};

TEST_F(WriteTIFF, TagsAnRgbPicture) {
  const Bytes pixels = counting(24);
  ASSERT_TRUE(writeTIFF(rgb(pixels, 4, 2), name));
  const TiffFile tiff(name);
  EXPECT_EQ(tiff.tags,
            "  Image Width: 4 Image Length: 2\n"
            "  Bits/Sample: 8\n"
            "  Compression Scheme: None\n"
            "  Photometric Interpretation: RGB color\n"
            "  Samples/Pixel: 3\n"
            "  Rows/Strip: 2\n"
            "  Planar Configuration: single image plane\n");
  EXPECT_EQ(tiff.pixels, pixels);
}

TEST_F(WriteTIFF, TagsAGreyPictureWhereZeroIsBlack) {
  const Bytes pixels = counting(6);
  ASSERT_TRUE(writeTIFF(grey(pixels, 3, 2), name));
  const TiffFile tiff(name);
  EXPECT_EQ(tiff.tags,
            "  Image Width: 3 Image Length: 2\n"
            "  Bits/Sample: 8\n"
            "  Compression Scheme: None\n"
            "  Photometric Interpretation: min-is-black\n"
            "  Samples/Pixel: 1\n"
            "  Rows/Strip: 2\n"
            "  Planar Configuration: single image plane\n");
  EXPECT_EQ(tiff.pixels, pixels);
}

TEST_F(WriteTIFF, TagsAOneBitPictureWhereZeroIsWhite) {
  const Bytes pixels = counting(20);
  ASSERT_TRUE(writeTIFF(oneBit(pixels, 10, 2), name));
  const TiffFile tiff(name);
  EXPECT_EQ(tiff.tags,
            "  Image Width: 10 Image Length: 2\n"
            "  Bits/Sample: 1\n"
            "  Compression Scheme: None\n"
            "  Photometric Interpretation: min-is-white\n"
            "  Samples/Pixel: 1\n"
            "  Rows/Strip: 2\n"
            "  Planar Configuration: single image plane\n");
  EXPECT_THAT(tiff.pixels, ElementsAre(pixels[0], pixels[1], pixels[10], pixels[11]));
}

TEST_F(WriteTIFF, WritesTheSameBytesOnEveryMachine) {
  const Bytes pixels{0xA1, 0xA2};
  ASSERT_TRUE(writeTIFF(grey(pixels, 2, 1), name));
  constexpr unsigned char file[] = {
      'M',  'M',  0, 42, 0, 0, 0, 10,              // big-endian, tags at 10
      0xA1, 0xA2,                                  // the pixels
      0,    10,                                    // ten tags: number, type, count, value
      1,    0x00, 0, 3,  0, 0, 0, 1,  0, 2, 0, 0,  // width 2
      1,    0x01, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // height 1
      1,    0x02, 0, 3,  0, 0, 0, 1,  0, 8, 0, 0,  // 8 bits per sample
      1,    0x03, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // no compression
      1,    0x06, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // 0 is black
      1,    0x11, 0, 4,  0, 0, 0, 1,  0, 0, 0, 8,  // the strip's offset
      1,    0x15, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // 1 sample per pixel
      1,    0x16, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // 1 row per strip
      1,    0x17, 0, 4,  0, 0, 0, 1,  0, 0, 0, 2,  // the strip's bytes
      1,    0x1C, 0, 3,  0, 0, 0, 1,  0, 1, 0, 0,  // contiguous
      0,    0,    0, 0,                            // no further picture
  };
  EXPECT_EQ(contentOf(name), std::string(reinterpret_cast<const char*>(file), sizeof file));
}

TEST_F(WriteTIFF, KeepsEveryPixelAcrossStrips) {
  const Bytes colour = counting(std::size_t{700} * 500 * 3);
  EXPECT_TRUE(pixelsOf(rgb(colour, 700, 500)) == colour);
  const Bytes tall = counting(600000);
  EXPECT_TRUE(pixelsOf(grey(tall, 1, 600000)) == tall);
  const Bytes wide = counting(600000);
  EXPECT_TRUE(pixelsOf(grey(wide, 300000, 2)) == wide);
}

TEST_F(WriteTIFF, TakesTheFirstEighthOfEachOneBitRowAcrossStrips) {
  const Bytes pixels = counting(std::size_t{1001} * 5000);
  const Bytes read = pixelsOf(oneBit(pixels, 1001, 5000));
  ASSERT_EQ(read.size(), 126U * 5000U);
  for (std::size_t row = 0; row < 5000; ++row) {
    ASSERT_TRUE(std::equal(&read[row * 126], &read[row * 126] + 126, &pixels[row * 1001])) << "row " << row;
  }
}

TEST_F(WriteTIFF, TakesWholeRowsOfALongerRowLength) {
  const Bytes pixels{1, 2, 3, 99, 99, 4, 5, 6, 99, 99};
  Bitmap bitmap = grey(pixels, 3, 2);
  bitmap.bytesPerRow = 5;
  EXPECT_THAT(pixelsOf(bitmap), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(WriteTIFF, FillsWhatAShorterRowLengthLacksWithZeros) {
  const Bytes pixels{1, 2, 3, 4};
  Bitmap bitmap = grey(pixels, 3, 2);
  bitmap.bytesPerRow = 2;
  EXPECT_THAT(pixelsOf(bitmap), ElementsAre(1, 2, 0, 3, 4, 0));
  bitmap.bytesPerRow = 0;
  EXPECT_THAT(pixelsOf(bitmap), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST_F(WriteTIFF, ReadsMissingPixelsAsZerosWhereverTheyEnd) {
  const Bytes whole = counting(60);
  for (std::size_t count = 0; count <= whole.size(); ++count) {
    const Bytes some(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(count));
    Bytes expected = some;
    expected.resize(whole.size());
    ASSERT_EQ(pixelsOf(rgb(some, 4, 5)), expected) << count;
  }
}

TEST_F(WriteTIFF, ReadsMissingOneBitPixelsAsZeros) {
  const Bytes pixels(26, 0xFF);  // two rows and six bytes of the third, then nothing
  EXPECT_THAT(pixelsOf(oneBit(pixels, 10, 5)), ElementsAre(255, 255, 255, 255, 255, 255, 0, 0, 0, 0));
}

TEST_F(WriteTIFF, TakesNoRoomOnTheDiskForRowsThatNeverCame) {
  const Bytes pixels{0xFF};
  ASSERT_TRUE(writeTIFF(oneBit(pixels, 1, 1000000000), name));
  struct stat status {};
  ASSERT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_GT(status.st_size, 1000000000);
  EXPECT_LT(status.st_blocks * 512, 1000000);
}

TEST_F(WriteTIFF, IgnoresPixelsBeyondItsRows) {
  const Bytes pixels = counting(100);
  EXPECT_THAT(pixelsOf(grey(pixels, 2, 2)), ElementsAreArray(counting(4)));
}

TEST_F(WriteTIFF, ReplacesALinkInsteadOfFollowingIt) {
  writeContent(folder / "precious", "precious");
  std::filesystem::create_symlink(folder / "precious", name);
  const Bytes pixels{1};
  EXPECT_TRUE(writeTIFF(grey(pixels, 1, 1), name));
  EXPECT_FALSE(isLink(name));
  EXPECT_EQ(modeOf(name), 0600U);
  EXPECT_EQ(contentOf(folder / "precious"), "precious");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff", "precious"));
}

struct Refusal {
  const char* what;
  Bitmap bitmap;
};

class RefusedBitmap : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedBitmap, LeavesTheOldFileAndNoTemporary) {
  const TemporaryFolder folder;
  writeContent(folder / "page.tiff", "old");
  EXPECT_FALSE(writeTIFF(GetParam().bitmap, folder / "page.tiff"));
  EXPECT_EQ(contentOf(folder / "page.tiff"), "old");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

constexpr std::uint32_t huge = 0xFFFFFFFF;
const char* const black = platform::kNSDeviceBlackColorSpace;
const char* const white = platform::kNSDeviceWhiteColorSpace;
const char* const colour = platform::kNSDeviceRGBColorSpace;
constexpr std::uint8_t somePixels[16] = {};
const Refusal refusals[] = {
    {"NoColorSpace", {somePixels, 16, 2, 2, 8, 1, 2, nullptr}},
    {"UnknownColorSpace", {somePixels, 16, 2, 2, 8, 1, 2, "NSDeviceCMYKColorSpace"}},
    {"GreyOfThreeSamples", {somePixels, 16, 2, 2, 8, 3, 6, white}},
    {"ColourOfOneSample", {somePixels, 16, 2, 2, 8, 1, 2, colour}},
    {"SixteenBits", {somePixels, 16, 2, 2, 16, 1, 4, white}},
    {"NoBits", {somePixels, 16, 2, 2, 0, 1, 2, white}},
    {"NoWidth", {somePixels, 16, 0, 2, 8, 1, 0, white}},
    {"NoHeight", {somePixels, 16, 2, 0, 8, 1, 2, white}},
    {"TooTall", {somePixels, 16, 1, huge, 8, 1, 1, white}},
    {"TooTallInBits", {somePixels, 16, 1, huge, 1, 1, 1, black}},
    {"TooWide", {somePixels, 16, huge, 1, 8, 3, huge, colour}},
    {"JustTooWide", {somePixels, 16, huge - 1000, 1, 8, 1, huge - 1000, white}},
    {"TooBigBothWays", {somePixels, 16, huge, huge, 8, 3, huge, colour}},
    {"WrappingTo32Bits", {somePixels, 16, 65536, 65536, 8, 1, 65536, white}},
};
INSTANTIATE_TEST_SUITE_P(WriteTIFF, RefusedBitmap, testing::ValuesIn(refusals),
                         [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(WriteTIFF, FailsWhereTheNameCannotBeReplaced) {
  std::filesystem::create_directory(name);
  const Bytes pixels{1};
  EXPECT_FALSE(writeTIFF(grey(pixels, 1, 1), name));
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_F(WriteTIFF, FailsInAFolderThatDoesNotExist) {
  const Bytes pixels{1};
  EXPECT_FALSE(writeTIFF(grey(pixels, 1, 1), folder / "nowhere/page.tiff"));
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
