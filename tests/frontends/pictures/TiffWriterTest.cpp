#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "ColorProfile.h"
#include "OwnedDescriptor.h"
#include "TiffFile.h"
#include "WritingPictures.h"

namespace {

using namespace frontend;
using testing::HasSubstr;

TEST_F(WritingPictures, WritesColourAsTiff) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color}));
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, color.pixels);
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
            "  ICC Profile: <present>, 2628 bytes\n"
            "  Predictor: horizontal differencing 2 (0x2)\n");
}

TEST_F(WritingPictures, WritesGreyAsTiff) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&grey}));  // more than one strip
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, grey.pixels);
  EXPECT_THAT(file.tags, HasSubstr("Photometric Interpretation: min-is-black"));
  EXPECT_THAT(file.tags, HasSubstr("Samples/Pixel: 1"));
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsTiff) {
  for (const TestPicture* picture : {&lineart, &narrowLineart}) {
    ASSERT_TRUE(write(PictureFormat::tiff, {picture}));
    const TiffFile file(path);
    EXPECT_EQ(file.pixels, picture->pixels);
    EXPECT_THAT(file.tags, HasSubstr("Compression Scheme: CCITT Group 4\n"
                                     "  Photometric Interpretation: min-is-white\n"));
    EXPECT_THAT(file.tags, HasSubstr("Bits/Sample: 1\n"));
    EXPECT_THAT(file.tags, HasSubstr("Rows/Strip: 61\n"));
  }
}

// The library treats it as an empty one.
TEST_F(WritingPictures, AppendsNothingToATiffThatItCannotRead) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color}, severalPages()));
  const platform::OwnedDescriptor existing(open(path.c_str(), O_RDONLY));
  const platform::OwnedDescriptor unreadable(open((folder / "copy").c_str(), O_WRONLY | O_CREAT, 0600));
  ByteSink sink(unreadable.get());
  PictureSettings appending = severalPages();
  appending.appendTo = existing.get();
  {
    const auto writer = makePictureWriter(PictureFormat::tiff, sink, appending);
    grey.writeTo(*writer);
    writer->finish();
  }
  EXPECT_EQ(sink.error(), EBADF);
}

TEST_F(WritingPictures, WritesPagesIntoOneTiff) {
  PictureSettings several = settings();
  several.multiPage = true;
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart, &grey}, several));
  EXPECT_EQ(TiffFile(path).pixels, color.pixels);
  EXPECT_EQ(TiffFile(path, 1).pixels, lineart.pixels);
  EXPECT_EQ(TiffFile(path, 2).pixels, grey.pixels);
  EXPECT_THAT(TiffFile(path, 2).tags, HasSubstr("Subfile Type: multi-page document"));
  EXPECT_THAT(TiffFile(path, 2).tags, HasSubstr("Page Number: 2-0"));
}

TEST_F(WritingPictures, WritesTiffInOneOrderOfBytesEverywhere) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color}));
  EXPECT_EQ(contentOf(path).substr(0, 4), std::string("II*\0", 4));
}

TEST_F(WritingPictures, NamesTheColorSpaceInATiff) {
  for (const TestPicture* picture : {&color, &grey, &lineart}) {
    write(PictureFormat::tiff, {picture});
    const std::string& profile = colorProfileOf(picture->layout);
    const std::string content = contentOf(path);
    EXPECT_EQ(content.find(profile) != std::string::npos, true);
    EXPECT_EQ(TiffFile(path).tags.find("ICC Profile") == std::string::npos, profile.empty());
  }
}

}  // namespace
