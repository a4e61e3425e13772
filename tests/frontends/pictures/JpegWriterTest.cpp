#include <gtest/gtest.h>

#include <vector>

#include "ColorProfile.h"
#include "WritingPictures.h"

namespace {

using namespace frontend;

// Rows of one bit per pixel with their padding bits set to 0.
std::vector<std::uint8_t> withoutPadding(std::vector<std::uint8_t> rows, const PictureLayout& layout) {
  const auto spare = static_cast<unsigned>(layout.rowBytes() * 8 - layout.width);
  for (std::size_t last = layout.rowBytes() - 1; last < rows.size(); last += layout.rowBytes())
    rows[last] = static_cast<std::uint8_t>(rows[last] >> spare << spare);
  return rows;
}

// The greatest difference between the pixels of two pictures.
int distance(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
  int largest = a.size() == b.size() ? 0 : 256;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// JPEG is made for pictures that change slowly.
TestPicture smooth(std::uint32_t channels) {
  TestPicture picture(64, 48, channels);
  for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
    const std::size_t x = i % picture.layout.rowBytes() / channels;
    picture.pixels[i] = static_cast<std::uint8_t>(x * 2 + i / picture.layout.rowBytes() + i % channels * 20);
  }
  return picture;
}

TEST_F(WritingPictures, WritesColourAndGreyAsJpeg) {
  for (const std::uint32_t channels : {3U, 1U}) {
    const TestPicture picture = smooth(channels);
    ASSERT_TRUE(write(PictureFormat::jpeg, {&picture}));
    const JpegFile file(path);
    EXPECT_EQ(file.width, 64U);
    EXPECT_EQ(file.height, 48U);
    EXPECT_EQ(file.channels, static_cast<int>(channels));
    EXPECT_EQ(file.densityUnit, 1);
    EXPECT_EQ(file.densityX, 300);
    EXPECT_EQ(file.densityY, 300);
    EXPECT_EQ(file.comment, "q750 9.9.9");
    EXPECT_LT(distance(file.pixels, picture.pixels), 6);
  }
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsGreyJpeg) {
  TestPicture picture(16, 8, 1, 1);
  for (std::size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = i % 2 == 0 ? 0xFF : 0;
  ASSERT_TRUE(write(PictureFormat::jpeg, {&picture}));
  const JpegFile file(path);
  EXPECT_EQ(file.channels, 1);
  std::vector<std::uint8_t> expected;
  for (int row = 0; row < 8; ++row) {
    expected.insert(expected.end(), 8, 0);
    expected.insert(expected.end(), 8, 255);
  }
  EXPECT_LT(distance(file.pixels, expected), 6);
}

TEST_F(WritingPictures, MakesSmallerJpegsOfLowerQuality) {
  PictureSettings poor = settings();
  poor.quality = 20;
  for (const PictureFormat format : {PictureFormat::jpeg, PictureFormat::pdf}) {
    write(format, {&grey});
    const std::size_t usual = contentOf(path).size();
    write(format, {&grey}, poor);
    EXPECT_LT(contentOf(path).size(), usual / 2);
  }
}

TEST_F(WritingPictures, NamesTheColorSpaceInAJpeg) {
  write(PictureFormat::jpeg, {&color});
  EXPECT_EQ(JpegFile(path).profile, colorProfileOf(color.layout));
  for (const TestPicture* gray : {&grey, &lineart}) {
    write(PictureFormat::jpeg, {gray});
    EXPECT_EQ(JpegFile(path).profile, colorProfileOf(grey.layout));
  }
}

TEST_F(WritingPictures, KeepsTheColorOfFineLinesInAJpegOfHighQuality) {
  PictureSettings chosen = settings();
  for (const int quality : {lowestQuality, 89, 90, highestQuality}) {
    chosen.quality = quality;
    write(PictureFormat::jpeg, {&color}, chosen);
    EXPECT_EQ(JpegFile(path).fullColor, quality >= 90) << quality;
    write(PictureFormat::pdf, {&color}, chosen);
    printedBy("pdfimages -j '" + path + "' '" + path + "'");
    EXPECT_EQ(JpegFile(path + "-000.jpg").fullColor, quality >= 90) << quality;
  }
}

TEST_F(WritingPictures, PassesOnTheRowsOfAJpegThatAreEncodedWhenItIsFlushed) {
  ByteSink sink(create());
  const auto writer = makePictureWriter(PictureFormat::jpeg, sink, settings());
  writer->beginPage(grey.layout);
  grey.writeRows(*writer, 16);  // two rows of blocks
  EXPECT_EQ(contentOf(path).size(), 0U);
  writer->flush();
  EXPECT_GT(contentOf(path).size(), 4000U);
}

}  // namespace
