#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// The library's header needs <cstdio>.
#include <jpeglib.h>

#include "ImageFile.h"
#include "Paper.h"
#include "TemporaryFolder.h"

namespace virtualscanner {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

class ImageFile : public testing::Test {
 protected:
  Image read(const std::string& content) {
    writeContent(path_, content);
    return readImageFile(path_);
  }

  // The message of the error, without the path that it begins with.
  std::string complaintAbout(const std::string& content) {
    try {
      read(content);
    } catch (const PaperError& error) {
      const std::string text = error.what();
      EXPECT_EQ(text.substr(0, path_.size() + 2), path_ + ": ");
      return text.substr(path_.size() + 2);
    }
    return "none";
  }

  std::string pngOf(std::uint32_t width, std::uint32_t height, std::uint32_t format,
                    const std::vector<std::uint8_t>& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = format;
    EXPECT_NE(png_image_write_to_file(&image, path_.c_str(), 0, pixels.data(), 0, nullptr), 0);
    return contentOf(path_);
  }

  // At the best quality, with a channel for each letter of the color space.
  static std::string jpegOf(std::uint32_t width, std::uint32_t height, J_COLOR_SPACE space,
                            std::vector<std::uint8_t> pixels, bool progressive = false) {
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &bytes, &size);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = static_cast<int>(pixels.size() / width / height);
    jpeg.in_color_space = space;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    if (progressive) jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    for (std::uint32_t y = 0; y < height; ++y) {
      JSAMPROW row = pixels.data() + y * pixels.size() / height;
      jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::string content(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return content;
  }

  TemporaryFolder folder_;
  std::string path_ = folder_ / "picture";
};

TEST_F(ImageFile, ReadsTextBitmapsWithAndWithoutBlanks) {
  EXPECT_THAT(read("P1 3 2 1 0 1\n0 1 0").rgb,
              ElementsAre(0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255));
  EXPECT_EQ(read("P1 3 2 101010").rgb, read("P1 3 2 1 0 1 0 1 0").rgb);
}

TEST_F(ImageFile, ReadsTextGreymapsAndPixmaps) {
  const Image grey = read("P2\n# a comment\n2 1 # another\n255\n0 128");
  EXPECT_EQ(grey.width, 2U);
  EXPECT_EQ(grey.height, 1U);
  EXPECT_THAT(grey.rgb, ElementsAre(0, 0, 0, 128, 128, 128));
  EXPECT_THAT(read("P3 1 2 255 1 2 3 4 5 6\n").rgb, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(ImageFile, ReadsBinaryBitmapsWhoseRowsAreFilledUpToBytes) {
  const Image image = read(std::string("P4 9 2\n") + "\x80\x80\x01\x7F");
  ASSERT_EQ(image.width, 9U);
  EXPECT_EQ(image.at(0, 0), black);
  EXPECT_EQ(image.at(7, 0), white);
  EXPECT_EQ(image.at(8, 0), black);
  EXPECT_EQ(image.at(0, 1), white);
  EXPECT_EQ(image.at(7, 1), black);
  EXPECT_EQ(image.at(8, 1), white);
}

TEST_F(ImageFile, ReadsBinaryGreymapsAndPixmaps) {
  EXPECT_THAT(read(std::string("P5\n2 1\n255\n") + "\n\xFF").rgb, ElementsAre(10, 10, 10, 255, 255, 255));
  EXPECT_THAT(read("P6 1 1 255 abc").rgb, ElementsAre('a', 'b', 'c'));
}

TEST_F(ImageFile, ScalesEveryMaximumToEightBits) {
  EXPECT_THAT(read("P2 3 1 15 0 7 15").rgb, ElementsAre(0, 0, 0, 119, 119, 119, 255, 255, 255));
  EXPECT_THAT(read("P2 2 1 1000 500 2000").rgb, ElementsAre(128, 128, 128, 255, 255, 255));
  const std::string twoBytes("P5 2 1 65535 \x80\x00\xFF\xFF", 17);
  EXPECT_THAT(read(twoBytes).rgb, ElementsAre(128, 128, 128, 255, 255, 255));
}

TEST_F(ImageFile, ReadsThePicturesOfOtherProgramsInOneStream) {
  EXPECT_THAT(read("P6 1 1 255 abcP6 1 1 255 def").rgb, ElementsAre('a', 'b', 'c'));
}

TEST_F(ImageFile, ReadsPng) {
  const Image image = read(pngOf(2, 1, PNG_FORMAT_RGB, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(image.width, 2U);
  EXPECT_EQ(image.height, 1U);
  EXPECT_THAT(image.rgb, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(read(pngOf(1, 1, PNG_FORMAT_GRAY, {77})).rgb, ElementsAre(77, 77, 77));
}

TEST_F(ImageFile, LaysTransparentPartsOnWhite) {
  EXPECT_THAT(read(pngOf(2, 1, PNG_FORMAT_RGBA, {1, 2, 3, 0, 4, 5, 6, 255})).rgb,
              ElementsAre(255, 255, 255, 4, 5, 6));
}

TEST_F(ImageFile, ReadsJpeg) {
  for (const bool progressive : {false, true}) {
    const Image gray = read(jpegOf(2, 1, JCS_GRAYSCALE, {77, 77}, progressive));
    EXPECT_EQ(gray.width, 2U);
    EXPECT_EQ(gray.height, 1U);
    EXPECT_THAT(gray.rgb, ElementsAre(77, 77, 77, 77, 77, 77));
    const Image red = read(jpegOf(1, 2, JCS_RGB, {255, 0, 0, 255, 0, 0}, progressive));
    EXPECT_NEAR(red.at(0, 1).red, 255, 2);
    EXPECT_NEAR(red.at(0, 1).green, 0, 2);
  }
}

TEST_F(ImageFile, ReportsWhatIsWrongWithADamagedJpeg) {
  const std::string whole = jpegOf(40, 40, JCS_GRAYSCALE, std::vector<std::uint8_t>(1600, 7));
  EXPECT_EQ(complaintAbout("\xFF\xD8\xFF"), "Premature end of JPEG file");
  EXPECT_EQ(complaintAbout(whole.substr(0, whole.size() - 4)), "Premature end of JPEG file");
  EXPECT_THAT(complaintAbout("\xFF\xD8\xFFGIF89a"), HasSubstr("Unsupported marker type"));
  EXPECT_EQ(complaintAbout(jpegOf(1, 1, JCS_CMYK, {1, 2, 3, 4})), "Unsupported color conversion request");
}

TEST_F(ImageFile, RefusesAJpegBeyondItsLimitsBeforeReadingPixels) {
  std::string jpeg = jpegOf(1, 1, JCS_GRAYSCALE, {7});
  const std::size_t frame = jpeg.find("\xFF\xC0");  // | marker:2 | length:2 | bits:1 | height:2 | width:2 |
  ASSERT_NE(frame, std::string::npos);
  jpeg.replace(frame + 5, 4, "\x4E\x20\x4E\x20");
  EXPECT_THAT(complaintAbout(jpeg), HasSubstr("too large (20000 x 20000 pixels"));
}

TEST_F(ImageFile, ReportsWhyAFileIsNotAPicture) {
  EXPECT_EQ(complaintAbout(""), "is not a PNG, JPEG or PNM picture");
  EXPECT_EQ(complaintAbout("P"), "is not a PNG, JPEG or PNM picture");
  EXPECT_EQ(complaintAbout("P7 1 1"), "is not a PNG, JPEG or PNM picture");
  EXPECT_EQ(complaintAbout("GIF89a"), "is not a PNG, JPEG or PNM picture");
}

TEST_F(ImageFile, ReportsWhatIsWrongWithADamagedPnm) {
  const std::pair<const char*, const char*> cases[] = {
      {"P5", "the picture is cut short"},
      {"P5 x", "the header has no valid width"},
      {"P5 4", "the picture is cut short"},
      {"P5 4 -1", "the header has no valid height"},
      {"P5 4x 4", "the header has no valid width"},
      {"P5 1 1 0 a", "the maximum value is not within 1 to 65535"},
      {"P5 1 1 65536 a", "the maximum value is not within 1 to 65535"},
      {"P5 1 1 99999999999 a", "the header has no valid maximum value"},
      {"P5 2 1 255 a", "the picture is cut short"},
      {"P2 2 1 255 1", "the picture is cut short"},
      {"P2 1 1 255 x", "a sample is not a number"},
      {"P1 1 1 2", "a sample is neither 0 nor 1"},
      {"P5 1 # never ends", "the picture is cut short"},
      {"P5 0 1 255 ", "the picture has no pixels"},
  };
  for (const auto& [content, complaint] : cases) EXPECT_EQ(complaintAbout(content), complaint) << content;
}

TEST_F(ImageFile, RefusesEveryPrefixOfAPicture) {
  const std::string pnm = "P6\n# c\n2 2\n255\nabcdefghijkl";
  for (std::size_t length = 0; length < pnm.size(); ++length) {
    EXPECT_NE(complaintAbout(pnm.substr(0, length)), "none") << length;
  }
  const std::string jpeg = jpegOf(3, 3, JCS_RGB, std::vector<std::uint8_t>(27, 9));
  for (std::size_t length = 0; length + 2 < jpeg.size(); ++length) {  // the end marker holds no pixels
    EXPECT_NE(complaintAbout(jpeg.substr(0, length)), "none") << length;
  }
  const std::string png = pngOf(3, 3, PNG_FORMAT_RGB, std::vector<std::uint8_t>(27, 9));
  for (std::size_t length = 0; length + 13 < png.size(); ++length) {  // the last chunk holds no pixels
    EXPECT_NE(complaintAbout(png.substr(0, length)), "none") << length;
  }
}

TEST_F(ImageFile, RefusesSizesBeyondItsLimitsBeforeReadingPixels) {
  EXPECT_THAT(complaintAbout("P5 65536 1 255 "), HasSubstr("too large (65536 x 1 pixels"));
  EXPECT_THAT(complaintAbout("P5 20000 20000 255 "), HasSubstr("too large (20000 x 20000 pixels"));
  EXPECT_EQ(complaintAbout("P5 10000 10000 255 "), "the picture is cut short");
}

TEST_F(ImageFile, ReportsWhyAFileCannotBeOpened) {
  EXPECT_THAT([&] { readImageFile(folder_ / "missing"); },
              testing::ThrowsMessage<PaperError>(EndsWith("cannot be opened: No such file or directory")));
  EXPECT_THAT([&] { readImageFile(folder_.path().string()); },
              testing::ThrowsMessage<PaperError>(EndsWith("is not a regular file")));
}

TEST_F(ImageFile, BecomesAPaper) {
  writeContent(path_, "P3 1 1 255 10 20 30");
  const auto paper = Paper::fromFile(path_);
  EXPECT_EQ(paper->colorAt(0, 0), (Color{10, 20, 30}));
  EXPECT_THROW(Paper::fromFile(folder_ / "missing"), PaperError);
}

}  // namespace
}  // namespace virtualscanner
