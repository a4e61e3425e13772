#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "LibtiffImageToolkit.h"

using namespace platform;
using testing::Each;

namespace {

class ToolkitTest : public testing::Test {
 protected:
  ~ToolkitTest() override {
    toolkit.disposeGWorld(image);
    toolkit.disposeHandle(handle);
    toolkit.closeComponent(component);
  }

  GWorld* makeImage(std::int16_t depth, std::int16_t width, std::int16_t height) {
    toolkit.disposeGWorld(image);
    EXPECT_EQ(toolkit.newGWorld(&image, depth, {0, 0, height, width}, toolkit.getCTable(greyTable8)), noErr);
    return image;
  }
  OSErr creation(std::int16_t depth, const Rect& bounds, const ColorTable* colors = nullptr) {
    GWorld* made = makeImage(1, 1, 1);  // a pointer that is not null
    image = nullptr;
    GWorld* const earlier = made;
    const OSErr error = toolkit.newGWorld(&made, depth, bounds, colors);
    EXPECT_EQ(made == nullptr, error != noErr);
    toolkit.disposeGWorld(made);
    toolkit.disposeGWorld(earlier);
    return error;
  }
  void setUp(std::int32_t exportDepth) {
    EXPECT_EQ(component->setInputGWorld(image), noErr);
    EXPECT_EQ(component->setDepth(exportDepth), noErr);
    EXPECT_EQ(component->setOutputHandle(handle), noErr);
  }

  LibtiffImageToolkit toolkit;
  GWorld* image = nullptr;
  Handle handle = toolkit.newHandle(0);
  GraphicsExport* component = toolkit.openADefaultComponent(kGraphicsExporterType, kTIFFFileType);
};

TEST_F(ToolkitTest, MakesImagesWhoseRowsAreMultiplesOfFourBytes) {
  EXPECT_EQ(makeImage(1, 1, 1)->getPixRowBytes(), 4U);
  EXPECT_EQ(makeImage(1, 32, 1)->getPixRowBytes(), 4U);
  EXPECT_EQ(makeImage(1, 33, 1)->getPixRowBytes(), 8U);
  EXPECT_EQ(makeImage(8, 4, 1)->getPixRowBytes(), 4U);
  EXPECT_EQ(makeImage(8, 5, 1)->getPixRowBytes(), 8U);
  EXPECT_EQ(makeImage(8, 32767, 1)->getPixRowBytes(), 32768U);
  EXPECT_EQ(makeImage(32, 1, 1)->getPixRowBytes(), 4U);
  EXPECT_EQ(makeImage(32, 32767, 1)->getPixRowBytes(), 131068U);
}

TEST_F(ToolkitTest, MakesImagesThatAreAllZero) {
  makeImage(32, 100, 50);
  ASSERT_TRUE(image->lockPixels());
  const std::vector<std::uint8_t> pixels(image->getPixBaseAddr(), image->getPixBaseAddr() + 100 * 4 * 50);
  image->unlockPixels();
  EXPECT_THAT(pixels, Each(0));
}

TEST_F(ToolkitTest, CountsBoundsFromWhereTheyBegin) {
  EXPECT_EQ(toolkit.newGWorld(&image, 8, {-3, -2, 4, 10}, toolkit.getCTable(greyTable8)), noErr);
  EXPECT_EQ(image->getPixRowBytes(), 12U);
}

TEST_F(ToolkitTest, MakesNoImageOfAnotherDepth) {
  constexpr std::int16_t depths[] = {0, 2, 4, 16, 24, 33, 40, -1, -8};
  for (const std::int16_t depth : depths) EXPECT_EQ(creation(depth, {0, 0, 1, 1}), cDepthErr) << depth;
}

TEST_F(ToolkitTest, MakesNoImageOfEmptyBounds) {
  for (const Rect& bounds : {Rect{0, 0, 0, 1}, Rect{0, 0, 1, 0}, Rect{5, 0, 4, 1}, Rect{0, 5, 1, 4}})
    EXPECT_EQ(creation(1, bounds), paramErr);
}

TEST_F(ToolkitTest, MakesGreyImagesWithTheGreyTableOnly) {
  const ColorTable other{8};
  EXPECT_EQ(creation(8, {0, 0, 1, 1}), paramErr);
  EXPECT_EQ(creation(8, {0, 0, 1, 1}, &other), paramErr);
  EXPECT_EQ(creation(8, {0, 0, 1, 1}, toolkit.getCTable(40)), noErr);
  EXPECT_EQ(toolkit.getCTable(8), nullptr);
}

std::size_t requested = 0;

TEST_F(ToolkitTest, MakesNoImageWithoutMemory) {
  LibtiffImageToolkit full([](std::size_t count, std::size_t size) -> void* {
    requested = count * size;
    return nullptr;
  });
  EXPECT_EQ(full.newGWorld(&image, 32, {0, 0, 1000, 1000}, nullptr), memFullErr);
  EXPECT_EQ(requested, 4000000U);
  EXPECT_EQ(image, nullptr);
}

TEST_F(ToolkitTest, AsksForNoMemoryForAnImageThatNoTiffCouldHold) {
  requested = 0;
  LibtiffImageToolkit full([](std::size_t count, std::size_t size) -> void* {
    requested = count * size;
    return nullptr;
  });
  EXPECT_EQ(full.newGWorld(&image, 32, {-32768, -32768, 32767, 32767}, nullptr), memFullErr);
  EXPECT_EQ(requested, 0U);
  EXPECT_EQ(full.newGWorld(&image, 32, {0, 0, 32767, 32767}, nullptr), memFullErr);
  EXPECT_EQ(requested, std::size_t{32767} * 32767 * 4);
}

TEST_F(ToolkitTest, OpensTheTiffExporterOnly) {
  EXPECT_EQ(toolkit.openADefaultComponent(kTIFFFileType, kTIFFFileType), nullptr);
  EXPECT_EQ(toolkit.openADefaultComponent(kGraphicsExporterType, kGraphicsExporterType), nullptr);
  EXPECT_EQ(kGraphicsExporterType, std::uint32_t{'g'} << 24 | 'r' << 16 | 'e' << 8 | 'x');
  EXPECT_EQ(kTIFFFileType, std::uint32_t{'T'} << 24 | 'I' << 16 | 'F' << 8 | 'F');
}

TEST_F(ToolkitTest, RejectsWhatItCannotExport) {
  EXPECT_EQ(component->setInputGWorld(nullptr), paramErr);
  for (const std::int32_t depth : {0, 1, 8, 32, -24}) EXPECT_EQ(component->setDepth(depth), paramErr);
  EXPECT_EQ(component->setOutputHandle(nullptr), paramErr);
  EXPECT_EQ(component->setResolution(-1, 1), paramErr);
  EXPECT_EQ(component->setResolution(1, -1), paramErr);
}

TEST_F(ToolkitTest, ExportsNothingUntilAllIsSet) {
  makeImage(8, 1, 1);
  EXPECT_EQ(component->doExport(), paramErr);
  component->setInputGWorld(image);
  EXPECT_EQ(component->doExport(), paramErr);
  component->setDepth(40);
  EXPECT_EQ(component->doExport(), paramErr);
  component->setOutputHandle(handle);
  EXPECT_EQ(component->doExport(), noErr);
}

TEST_F(ToolkitTest, ExportsNoImageAtTheDepthOfAnother) {
  makeImage(8, 1, 1);
  setUp(24);
  EXPECT_EQ(component->doExport(), paramErr);
  EXPECT_EQ(component->setDepth(33), noErr);
  EXPECT_EQ(component->doExport(), paramErr);
}

TEST_F(ToolkitTest, ExportsTheSameBytesOnEveryMachine) {
  makeImage(32, 1, 1);
  const std::uint8_t pixel[] = {0, 0xA1, 0xA2, 0xA3};
  std::copy(std::begin(pixel), std::end(pixel), image->getPixBaseAddr());
  setUp(24);
  EXPECT_EQ(component->setResolution(long2Fix(300), long2Fix(150)), noErr);
  EXPECT_EQ(component->doExport(), noErr);
  constexpr unsigned char file[] = {
      'M',  'M',  0,    42,  0, 0, 0, 12,                // big-endian, tags at 12
      0xA1, 0xA2, 0xA3, 0,                               // the pixel, and a byte up to an even offset
      0,    13,                                          // thirteen tags: number, type, count, value
      1,    0x00, 0,    3,   0, 0, 0, 1,  0, 1, 0, 0,    // width 1
      1,    0x01, 0,    3,   0, 0, 0, 1,  0, 1, 0, 0,    // height 1
      1,    0x02, 0,    3,   0, 0, 0, 3,  0, 0, 0, 190,  // bits per sample, at 190
      1,    0x03, 0,    3,   0, 0, 0, 1,  0, 1, 0, 0,    // no compression
      1,    0x06, 0,    3,   0, 0, 0, 1,  0, 2, 0, 0,    // RGB
      1,    0x11, 0,    4,   0, 0, 0, 1,  0, 0, 0, 8,    // the strip's offset
      1,    0x15, 0,    3,   0, 0, 0, 1,  0, 3, 0, 0,    // 3 samples per pixel
      1,    0x16, 0,    3,   0, 0, 0, 1,  0, 1, 0, 0,    // 1 row per strip
      1,    0x17, 0,    4,   0, 0, 0, 1,  0, 0, 0, 3,    // the strip's bytes
      1,    0x1A, 0,    5,   0, 0, 0, 1,  0, 0, 0, 174,  // horizontal resolution, at 174
      1,    0x1B, 0,    5,   0, 0, 0, 1,  0, 0, 0, 182,  // vertical resolution, at 182
      1,    0x1C, 0,    3,   0, 0, 0, 1,  0, 1, 0, 0,    // contiguous
      1,    0x28, 0,    3,   0, 0, 0, 1,  0, 2, 0, 0,    // per inch
      0,    0,    0,    0,                               // no further picture
      0,    0,    1,    44,  0, 0, 0, 1,                 // 300
      0,    0,    0,    150, 0, 0, 0, 1,                 // 150
      0,    8,    0,    8,   0, 8,                       // 8 bits each
  };
  EXPECT_EQ(handle->bytes, std::vector<std::uint8_t>(std::begin(file), std::end(file)));
}

TEST_F(ToolkitTest, ReplacesTheContentOfTheHandle) {
  makeImage(8, 1, 1);
  setUp(40);
  EXPECT_EQ(component->doExport(), noErr);
  const std::vector<std::uint8_t> first = handle->bytes;
  handle->bytes.assign(100000, 0xFF);
  EXPECT_EQ(component->doExport(), noErr);
  EXPECT_EQ(handle->bytes, first);
}

TEST_F(ToolkitTest, MakesHandlesOfAnySize) {
  const Handle large = toolkit.newHandle(1000);
  EXPECT_EQ(large->bytes, std::vector<std::uint8_t>(1000));
  toolkit.disposeHandle(large);
  EXPECT_TRUE(handle->bytes.empty());
}

TEST_F(ToolkitTest, RemembersTheCurrentPortOfEachThread) {
  makeImage(1, 1, 1);
  const CurrentPort before = toolkit.getGWorld();
  EXPECT_EQ(before.port, nullptr);
  toolkit.setGWorld({nullptr, 5});
  toolkit.setPort(image);
  EXPECT_EQ(toolkit.getGWorld().port, image);
  EXPECT_EQ(toolkit.getGWorld().device, 5U);
  std::thread([this] { EXPECT_EQ(toolkit.getGWorld().port, nullptr); }).join();
  toolkit.setGWorld(before);
}

TEST(Long2Fix, SaturatesAt15Bits) {
  EXPECT_EQ(long2Fix(0), 0);
  EXPECT_EQ(long2Fix(300), 300 * 65536);
  EXPECT_EQ(long2Fix(32767), 0x7FFF0000);
  EXPECT_EQ(long2Fix(32768), 0x7FFFFFFF);
  EXPECT_EQ(long2Fix(65536), 0x7FFFFFFF);
  EXPECT_EQ(long2Fix(0xFFFFFFFF), 0x7FFFFFFF);
}

TEST(ImageToolkit, IsTheOneInUseUntilNullBringsTheStandardBack) {
  ImageToolkit& standard = imageToolkit();
  LibtiffImageToolkit other;
  useImageToolkit(&other);
  EXPECT_EQ(&imageToolkit(), &other);
  useImageToolkit(nullptr);
  EXPECT_EQ(&imageToolkit(), &standard);
}

}  // namespace
