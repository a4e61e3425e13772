#include <tiffio.h>

#include <memory>
#include <random>

#include "ExportFromC.h"
#include "ExportTest.h"
#include "LibtiffImageToolkit.h"
#include "OutsideReader.h"
#include "TemporaryFolder.h"
#include "TiffFile.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::size_t sourceRow(std::uint32_t space, std::size_t width) {
  if (space == bitmapSpaceOneBit) return (width + 7) / 8;
  return space == bitmapSpaceRGB24 ? width * 3 : width;
}

Bytes counting(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t index = 0; index < count; ++index)
    bytes[index] = static_cast<std::uint8_t>(index * 7 + index / 251);
  return bytes;
}

Bytes asBytes(const std::string& text) {
  return {text.begin(), text.end()};
}

// The displayed pixels, as 3 bytes each: in grey 0 is black, in 1-bit pictures 1 is.
Bytes shownAs(std::uint32_t space, std::size_t width, std::size_t height, const Bytes& pixels) {
  if (space == bitmapSpaceRGB24) return pixels;
  Bytes shown;
  for (std::size_t row = 0; row < height; ++row) {
    for (std::size_t column = 0; column < width; ++column) {
      std::uint8_t grey = 0;
      if (space == bitmapSpaceGrey8)
        grey = pixels[row * width + column];
      else
        grey = pixels[row * sourceRow(space, width) + column / 8] >> (7 - column % 8) & 1 ? 0 : 255;
      shown.insert(shown.end(), 3, grey);
    }
  }
  return shown;
}

// Exports with the toolkit that hosts get.
class ExportedTiff : public ExportTest {
 protected:
  void expectSuccess(std::uint32_t space, std::size_t width, std::size_t height, const Bytes& pixels) {
    ASSERT_EQ(convert(space, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), pixels,
                      static_cast<std::int32_t>(sourceRow(space, width))),
              0);
    writeContent(path, block());
  }
  void expectSamePixels(std::uint32_t space, std::size_t width, std::size_t height) {
    const Bytes pixels = counting(sourceRow(space, width) * height);
    expectSuccess(space, width, height, pixels);
    const TiffFile file(path);
    EXPECT_TRUE(file.pixels == pixels) << width << " x " << height;
    EXPECT_THAT(file.tags, StartsWith("  Image Width: " + std::to_string(width) +
                                      " Image Length: " + std::to_string(height) + "\n"));
  }
  // The colours that the TIFF library returns to a viewer, 3 bytes per pixel.
  Bytes viewed() const {
    const std::unique_ptr<TIFF, void (*)(TIFF*)> file(TIFFOpen(path.c_str(), "r"), TIFFClose);
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
    std::vector<std::uint32_t> colors(std::size_t{width} * height);
    EXPECT_EQ(TIFFReadRGBAImageOriented(file.get(), width, height, colors.data(), ORIENTATION_TOPLEFT, 1), 1);
    Bytes bytes;
    for (const std::uint32_t color : colors) {
      for (const std::uint32_t sample : {TIFFGetR(color), TIFFGetG(color), TIFFGetB(color)})
        bytes.push_back(static_cast<std::uint8_t>(sample));
    }
    return bytes;
  }
  std::string tiffinfo() const { return outputOf("tiffinfo", "libtiff-tools", "'" + path + "'"); }
  std::string gm(const std::string& command, const std::string& options) const {
    return outputOf("gm", "graphicsmagick", command + " " + options);
  }

  TemporaryFolder folder;
  const std::string path = folder / "exported.tiff";
};

struct Picture {
  const char* what;
  std::uint32_t space;
  Bytes pixels;  // 10 by 2
  const char* tags;

  friend void PrintTo(const Picture& picture, std::ostream* stream) { *stream << picture.what; }
};

class EveryExportedLayout : public ExportedTiff, public testing::WithParamInterface<Picture> {
 protected:
  void exportPicture() { expectSuccess(GetParam().space, 10, 2, GetParam().pixels); }
  Bytes shown() const { return shownAs(GetParam().space, 10, 2, GetParam().pixels); }
};

TEST_P(EveryExportedLayout, IsTaggedAndKeepsItsBytes) {
  exportPicture();
  const TiffFile file(path);
  EXPECT_EQ(file.tags, GetParam().tags);
  EXPECT_EQ(file.pixels, GetParam().pixels);
}

TEST_P(EveryExportedLayout, IsShownRight) {
  exportPicture();
  EXPECT_EQ(viewed(), shown());
}

TEST_P(EveryExportedLayout, IsDescribedByAnOutsideReader) {
  exportPicture();
  EXPECT_THAT(tiffinfo(), HasSubstr(GetParam().tags));
}

TEST_P(EveryExportedLayout, IsShownRightByAnOutsideReader) {
  exportPicture();
  EXPECT_EQ(gm("identify", "-format '%m %wx%h %x %y' '" + path + "'"), "TIFF 10x2 300 150\n");
  EXPECT_EQ(asBytes(gm("convert", "'" + path + "' -depth 8 rgb:-")), shown());
}

const Picture pictures[] = {
    {"Colour", bitmapSpaceRGB24, counting(60),
     "  Image Width: 10 Image Length: 2\n"
     "  Resolution: 300, 150 pixels/inch\n"
     "  Bits/Sample: 8\n"
     "  Compression Scheme: None\n"
     "  Photometric Interpretation: RGB color\n"
     "  Samples/Pixel: 3\n"
     "  Rows/Strip: 2\n"
     "  Planar Configuration: single image plane\n"},
    {"Grey",
     bitmapSpaceGrey8,
     {0, 255, 1, 254, 128, 3, 4, 5, 6, 7, 255, 0, 200, 100, 50, 25, 12, 6, 3, 1},
     "  Image Width: 10 Image Length: 2\n"
     "  Resolution: 300, 150 pixels/inch\n"
     "  Bits/Sample: 8\n"
     "  Compression Scheme: None\n"
     "  Photometric Interpretation: min-is-black\n"
     "  Samples/Pixel: 1\n"
     "  Rows/Strip: 2\n"
     "  Planar Configuration: single image plane\n"},
    {"OneBit",
     bitmapSpaceOneBit,
     {0xA5, 0x40, 0x0F, 0x80},
     "  Image Width: 10 Image Length: 2\n"
     "  Resolution: 300, 150 pixels/inch\n"
     "  Bits/Sample: 1\n"
     "  Compression Scheme: None\n"
     "  Photometric Interpretation: min-is-white\n"
     "  Samples/Pixel: 1\n"
     "  Rows/Strip: 2\n"
     "  Planar Configuration: single image plane\n"},
};
INSTANTIATE_TEST_SUITE_P(ExportedTiff, EveryExportedLayout, testing::ValuesIn(pictures),
                         [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(ExportedTiff, IsBigEndian) {
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_EQ(block().substr(0, 4), std::string("MM\0*", 4));
}

TEST_F(ExportedTiff, KeepsEveryPixelOfTheLargestWidthsAndHeights) {
  for (const std::uint32_t space : {bitmapSpaceRGB24, bitmapSpaceGrey8, bitmapSpaceOneBit}) {
    expectSamePixels(space, 1, 1);
    expectSamePixels(space, 32767, 3);
    expectSamePixels(space, 3, 32767);
  }
}

TEST_F(ExportedTiff, KeepsEveryPixelOfGreyRowsThatNeedTheBitsOfTheFlags) {
  for (const std::size_t width : {16380U, 16381U, 16384U, 16385U, 20000U, 32764U})
    expectSamePixels(bitmapSpaceGrey8, width, 3);
}

TEST_F(ExportedTiff, KeepsEveryPixelOfRandomSizes) {
  std::mt19937 random(750);
  std::uniform_int_distribution<std::size_t> size(1, 300);
  for (int round = 0; round < 40; ++round) {
    for (const std::uint32_t space : {bitmapSpaceRGB24, bitmapSpaceGrey8, bitmapSpaceOneBit}) {
      const std::size_t width = size(random);
      const std::size_t height = size(random);
      expectSamePixels(space, width, height);
    }
  }
}

TEST_F(ExportedTiff, IsShownRightInRandomSizes) {
  std::mt19937 random(751);
  std::uniform_int_distribution<std::size_t> size(1, 40);
  for (int round = 0; round < 10; ++round) {
    for (const std::uint32_t space : {bitmapSpaceRGB24, bitmapSpaceGrey8, bitmapSpaceOneBit}) {
      const std::size_t width = size(random);
      const std::size_t height = size(random);
      const Bytes pixels = counting(sourceRow(space, width) * height);
      expectSuccess(space, width, height, pixels);
      EXPECT_EQ(viewed(), shownAs(space, width, height, pixels));
    }
  }
}

TEST_F(ExportedTiff, TakesThePixelsOfLongerOneBitRowsOnly) {
  Bytes pixels(std::size_t{100} * 3, 0xFF);
  for (const std::size_t row : {0U, 100U, 200U}) pixels[row] = 0x11;
  ASSERT_EQ(convert(bitmapSpaceOneBit, 8, 3, pixels, 100), 0);
  writeContent(path, block());
  EXPECT_THAT(TiffFile(path).pixels, testing::ElementsAre(0x11, 0x11, 0x11));
}

TEST_F(ExportedTiff, HasNoResolutionWhereOneIsUnknown) {
  horizontal = 0;
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_THAT(TiffFile(path).tags, Not(HasSubstr("Resolution")));
  horizontal = 300;
  vertical = 0;
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_THAT(TiffFile(path).tags, Not(HasSubstr("Resolution")));
}

TEST_F(ExportedTiff, SaturatesItsResolution) {
  horizontal = 32767;
  vertical = 0xFFFFFFFF;
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_THAT(tiffinfo(), HasSubstr("Resolution: 32767, 32768 pixels/inch"));
}

TEST_F(ExportedTiff, ReplacesTheBlockOfAnEarlierExport) {
  expectSuccess(bitmapSpaceGrey8, 4, 4, counting(16));
  const std::string first = block();
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_LT(length, first.size());
  expectSuccess(bitmapSpaceGrey8, 4, 4, counting(16));
  EXPECT_EQ(block(), first);
}

TEST_F(ExportedTiff, MayReplaceThePixelsThatItWasMadeFrom) {
  holdBlock(std::string(16, '\x33'));
  const CMBitmap bitmap{nullptr, 4, 4, 4, bitmapSpaceGrey8};
  EXPECT_EQ(ConvertCMBitmapToTIFF(tiff, &bitmap, &tiff, &length, nullptr, 300, 300), 0);
  writeContent(path, block());
  EXPECT_EQ(TiffFile(path).pixels, Bytes(16, 0x33));
}

TEST_F(ExportedTiff, LeavesTheCurrentPortAsItWas) {
  platform::ImageToolkit& toolkit = platform::imageToolkit();
  toolkit.setGWorld({nullptr, 9});
  expectSuccess(bitmapSpaceGrey8, 1, 1, {7});
  EXPECT_EQ(toolkit.getGWorld().port, nullptr);
  EXPECT_EQ(toolkit.getGWorld().device, 9U);
  toolkit.setGWorld({nullptr, 0});
}

// The standard toolkit on a machine where a part of the memory is used up.
class ShortOfMemory : public platform::LibtiffImageToolkit {
 public:
  using LibtiffImageToolkit::LibtiffImageToolkit;
  platform::Handle newHandle(std::size_t size) override {
    return hasHandles ? LibtiffImageToolkit::newHandle(size) : nullptr;
  }
  bool hasHandles = true;
};

class ExportShortOfMemory : public ExportedTiff {
 protected:
  ~ExportShortOfMemory() override { platform::useImageToolkit(nullptr); }
};

TEST_F(ExportShortOfMemory, GivesMinus108WhereTheImageCannotBeHad) {
  ShortOfMemory toolkit([](std::size_t, std::size_t) -> void* { return nullptr; });
  platform::useImageToolkit(&toolkit);
  holdBlock("old");
  EXPECT_EQ(convert(bitmapSpaceGrey8, 1, 1, {7}), -108);
  EXPECT_EQ(block(), "old");
}

TEST_F(ExportShortOfMemory, Gives4WhereTheHandleCannotBeHad) {
  ShortOfMemory toolkit;
  toolkit.hasHandles = false;
  platform::useImageToolkit(&toolkit);
  EXPECT_EQ(convert(bitmapSpaceGrey8, 1, 1, {7}), 4);
}

TEST_F(ExportShortOfMemory, GivesMinus108WhereTheBlockCannotBeHad) {
  refuseBlocks();
  EXPECT_EQ(convert(bitmapSpaceGrey8, 1, 1, {7}), -108);
  EXPECT_GT(refusedBytes, 9U);
  EXPECT_EQ(tiff, nullptr);
}

TEST_F(ExportedTiff, CanBeMadeFromC) {
  EXPECT_EQ(exportFromC(&tiff, &length), 0);
  writeContent(path, block());
  EXPECT_THAT(TiffFile(path).pixels, testing::ElementsAre(0x5A));
  EXPECT_EQ(readNoDictionaryFromC(), -2);
}

}  // namespace
