#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "PictureWriter.h"
#include "TemporaryFolder.h"
#include "TiffFile.h"

namespace {

using namespace frontend;
using testing::HasSubstr;

const PictureNotes notes{300, "q750 9.9.9"};
constexpr PictureFormat formats[] = {PictureFormat::tiff, PictureFormat::png, PictureFormat::pnm};

// A picture without two equal rows or columns, with its pixels.
struct TestPicture {
  explicit TestPicture(std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel) {
    pixels.resize(std::size_t{width} * height * bytesPerPixel);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    raster = {pixels.data(), width, height, bytesPerPixel};
  }
  std::vector<std::uint8_t> pixels;
  Raster raster;
};

class WritingPictures : public testing::Test {
 protected:
  // Whether it worked.
  bool write(PictureFormat format, const Raster& raster) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ByteSink sink(descriptor);
    writePicture(format, sink, raster, notes);
    close(descriptor);
    return sink.good();
  }

  TemporaryFolder folder;
  std::string path = folder / "picture";
};

struct PngFile {
  explicit PngFile(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    width = png_get_image_width(png, info);
    height = png_get_image_height(png, info);
    colorType = png_get_color_type(png, info);
    depth = png_get_bit_depth(png, info);
    int unit = 0;
    png_get_pHYs(png, info, &pixelsPerMetreX, &pixelsPerMetreY, &unit);
    EXPECT_EQ(unit, PNG_RESOLUTION_METER);
    png_textp text = nullptr;
    if (png_get_text(png, info, &text, nullptr) == 1) software = text[0].text;
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    for (png_uint_32 row = 0; row < height; ++row) {
      const png_bytep bytes = png_get_rows(png, info)[row];
      pixels.insert(pixels.end(), bytes, bytes + rowBytes);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
  }
  png_uint_32 width = 0;
  png_uint_32 height = 0;
  int colorType = 0;
  int depth = 0;
  png_uint_32 pixelsPerMetreX = 0;
  png_uint_32 pixelsPerMetreY = 0;
  std::string software;
  std::vector<std::uint8_t> pixels;
};

TEST_F(WritingPictures, WritesColourAsTiff) {
  const TestPicture picture(37, 29, 3);
  ASSERT_TRUE(write(PictureFormat::tiff, picture.raster));
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, picture.pixels);
  EXPECT_EQ(file.tags,
            "  Image Width: 37 Image Length: 29\n"
            "  Resolution: 300, 300 pixels/inch\n"
            "  Bits/Sample: 8\n"
            "  Compression Scheme: AdobeDeflate\n"
            "  Photometric Interpretation: RGB color\n"
            "  Orientation: row 0 top, col 0 lhs\n"
            "  Samples/Pixel: 3\n"
            "  Rows/Strip: 2361\n"
            "  Planar Configuration: single image plane\n"
            "  Make: Quenvar\n"
            "  Model: Q750\n"
            "  Software: q750 9.9.9\n"
            "  Predictor: horizontal differencing 2 (0x2)\n");
}

TEST_F(WritingPictures, WritesGreyAsTiff) {
  const TestPicture picture(501, 1203, 1);  // more than one strip
  ASSERT_TRUE(write(PictureFormat::tiff, picture.raster));
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, picture.pixels);
  EXPECT_THAT(file.tags, HasSubstr("Photometric Interpretation: min-is-black"));
  EXPECT_THAT(file.tags, HasSubstr("Samples/Pixel: 1"));
}

TEST_F(WritingPictures, WritesTiffInOneOrderOfBytesEverywhere) {
  const TestPicture picture(3, 2, 1);
  ASSERT_TRUE(write(PictureFormat::tiff, picture.raster));
  EXPECT_EQ(contentOf(path).substr(0, 4), std::string("II*\0", 4));
}

TEST_F(WritingPictures, WritesColourAsPng) {
  const TestPicture picture(37, 29, 3);
  ASSERT_TRUE(write(PictureFormat::png, picture.raster));
  const PngFile file(path);
  EXPECT_EQ(file.width, 37U);
  EXPECT_EQ(file.height, 29U);
  EXPECT_EQ(file.depth, 8);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_RGB);
  EXPECT_EQ(file.pixels, picture.pixels);
  EXPECT_EQ(file.pixelsPerMetreX, 11811U);
  EXPECT_EQ(file.pixelsPerMetreY, 11811U);
  EXPECT_EQ(file.software, "q750 9.9.9");
}

TEST_F(WritingPictures, WritesGreyAsPng) {
  const TestPicture picture(501, 403, 1);
  ASSERT_TRUE(write(PictureFormat::png, picture.raster));
  const PngFile file(path);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_GRAY);
  EXPECT_EQ(file.pixels, picture.pixels);
}

TEST_F(WritingPictures, WritesPnm) {
  const std::uint8_t pixels[] = {'a', 'b', 'c', 'd', 'e', 'f'};
  ASSERT_TRUE(write(PictureFormat::pnm, {pixels, 2, 1, 3}));
  EXPECT_EQ(contentOf(path), "P6\n# q750 9.9.9, 300 dots per inch\n2 1\n255\nabcdef");
  ASSERT_TRUE(write(PictureFormat::pnm, {pixels, 3, 2, 1}));
  EXPECT_EQ(contentOf(path), "P5\n# q750 9.9.9, 300 dots per inch\n3 2\n255\nabcdef");
}

TEST_F(WritingPictures, WritesTheSmallestPicture) {
  const TestPicture picture(1, 1, 1);
  for (const PictureFormat format : formats) EXPECT_TRUE(write(format, picture.raster));
}

TEST_F(WritingPictures, LeavesTheRasterAsItWas) {
  const TestPicture picture(37, 29, 3);
  const std::vector<std::uint8_t> before = picture.pixels;
  for (const PictureFormat format : formats) write(format, picture.raster);
  EXPECT_EQ(picture.pixels, before);
}

TEST_F(WritingPictures, TellsWhyItFailed) {
  const TestPicture picture(301, 203, 3);
  const int full = open("/dev/full", O_RDWR);
  for (const PictureFormat format : formats) {
    ByteSink sink(full);
    writePicture(format, sink, picture.raster, notes);
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "No space left on device");
  }
  close(full);
}

TEST_F(WritingPictures, StopsForACancel) {
  const TestPicture picture(301, 203, 3);
  CancelFlag cancel;
  cancel.request();
  for (const PictureFormat format : formats) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ByteSink sink(descriptor, &cancel);
    writePicture(format, sink, picture.raster, notes);
    close(descriptor);
    EXPECT_TRUE(sink.cancelled());
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "");
    EXPECT_EQ(contentOf(path), "");
  }
}

}  // namespace
