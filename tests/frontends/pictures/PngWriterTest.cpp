#include <gtest/gtest.h>
#include <png.h>

#include "WritingPictures.h"

namespace {

using namespace frontend;

TEST_F(WritingPictures, WritesColourAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&color}));
  const PngFile file(path);
  EXPECT_EQ(file.width, 37U);
  EXPECT_EQ(file.height, 29U);
  EXPECT_EQ(file.depth, 8);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_RGB);
  EXPECT_EQ(file.pixels, color.pixels);
  EXPECT_EQ(file.pixelsPerMetreX, 11811U);
  EXPECT_EQ(file.pixelsPerMetreY, 11811U);
  EXPECT_EQ(file.software, "q750 9.9.9");
}

TEST_F(WritingPictures, WritesGreyAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&grey}));
  const PngFile file(path);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_GRAY);
  EXPECT_EQ(file.depth, 8);
  EXPECT_EQ(file.pixels, grey.pixels);
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&lineart}));
  const PngFile file(path);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_GRAY);
  EXPECT_EQ(file.depth, 1);
  EXPECT_EQ(file.width, 72U);
  EXPECT_EQ(file.pixels, lineart.inverted());
}

TEST_F(WritingPictures, NamesTheColorSpaceInAPng) {
  write(PictureFormat::png, {&color});
  EXPECT_TRUE(PngFile(path).srgb);
  write(PictureFormat::png, {&grey});
  EXPECT_FALSE(PngFile(path).srgb);
  EXPECT_NEAR(PngFile(path).gamma, 1 / 2.2, 1e-5);
  write(PictureFormat::png, {&lineart});
  EXPECT_FALSE(PngFile(path).srgb);
  EXPECT_EQ(PngFile(path).gamma, 0);
}

}  // namespace
