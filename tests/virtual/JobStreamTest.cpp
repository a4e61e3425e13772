#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DeviceHost.h"
#include "JobStream.h"
#include "PageImage.h"

namespace virtualscanner {
namespace {

using testing::ElementsAre;

const PageRequest smallPage{75, true, 50, 60, 7, 5};

JobStream streamOf(const PageRequest& request, std::uint32_t payload, const StreamFaults& faults = {}) {
  return JobStream(PageImage(Paper::testChart(), request, imageHeader(request)), payload, faults);
}

std::vector<std::uint8_t> drain(JobStream stream, std::size_t piece = 1000) {
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint8_t> buffer(piece);
  for (;;) {
    const std::size_t count = stream.read(buffer.data(), buffer.size());
    bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    if (count < piece) return bytes;
  }
}

TEST(ImageHeader, IsABinaryPnmWithACommentInItsSecondLine) {
  EXPECT_EQ(imageHeader({300, true, 0, 0, 12, 34}), "P6\n# Quenvar Q750\n12 34\n255\n");
  EXPECT_EQ(imageHeader({300, false, 0, 0, 12, 34}), "P5\n# Quenvar Q750\n12 34\n255\n");
}

TEST(ImageHeader, HasFourWrongForms) {
  const PageRequest request{300, true, 0, 0, 12, 34};
  EXPECT_EQ(wrongImageHeader(request, 1), "P6\n12 34\n255\n");
  EXPECT_EQ(wrongImageHeader(request, 2), "P9\n# Quenvar Q750\n12 34\n255\n");
  EXPECT_EQ(wrongImageHeader(request, 3), "P6\n# Quenvar Q750\n2147483647 2147483647\n255\n");
  EXPECT_EQ(wrongImageHeader(request, 4), "");
}

TEST(PageImage, IsTheSameInPiecesOfEverySizePaintedAheadOrNot) {
  for (const bool color : {true, false}) {
    PageRequest request = smallPage;
    request.color = color;
    const auto chart = Paper::testChart();
    const auto expected = expectedImage(*chart, request);
    const auto page = std::make_shared<const std::vector<std::uint8_t>>(paintPage(chart, request));
    for (std::size_t piece = 1; piece <= expected.size(); ++piece) {
      PageImage lazy(chart, request, imageHeader(request));
      PageImage ahead(page, imageHeader(request));
      std::vector<std::uint8_t> one(expected.size()), other(expected.size());
      for (std::size_t i = 0; i < expected.size(); i += piece) {
        const std::size_t count = std::min(piece, expected.size() - i);
        lazy.read(&one[i], count);
        ahead.read(&other[i], count);
      }
      ASSERT_EQ(one, expected) << piece;
      ASSERT_EQ(other, expected) << piece;
      ASSERT_EQ(lazy.left(), 0U);
      ASSERT_EQ(ahead.left(), 0U);
    }
  }
}

TEST(JobStream, FramesTheImageBetweenItsMarkers) {
  const PageRequest request{75, false, 0, 0, 3, 1};
  const std::string image = imageHeader(request) + std::string(3, '\0');  // the chart's border is black
  std::string wanted("\xAA\0\0\0\0\0\0\0\xBB\0\0\0\0\0\0\0\xDD\0\0\0\0\0\0", 23);
  wanted += static_cast<char>(image.size());
  wanted += image;
  wanted += std::string("\xEE\0\0\0\0\0\0\0\xFF\0\0\0\0\0\0\0", 16);
  const std::vector<std::uint8_t> bytes = drain(streamOf(request, 1000));
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), wanted);
}

TEST(JobStream, CarriesTheSameImageInPacketsOfEverySize) {
  const auto expected = expectedImage(*Paper::testChart(), smallPage);
  for (std::uint32_t payload = 1; payload <= expected.size() + 1; ++payload) {
    const auto bytes = drain(streamOf(smallPage, payload));
    const std::size_t packets = (expected.size() + payload - 1) / payload;
    ASSERT_EQ(imageOf(bytes), expected) << payload;
    ASSERT_EQ(packetTypesOf(bytes).size(), packets + 4) << payload;
  }
  EXPECT_EQ(imageOf(drain(streamOf(smallPage, 0))), expected) << "0 counts as 1";
}

TEST(JobStream, IsTheSameReadInPiecesOfEverySize) {
  const auto whole = drain(streamOf(smallPage, 16), 100000);
  for (std::size_t piece = 1; piece <= whole.size(); ++piece) {
    ASSERT_EQ(drain(streamOf(smallPage, 16), piece), whole) << piece;
  }
}

TEST(JobStream, StopsForGoodAfterTheGivenNumberOfImageBytes) {
  const auto whole = drain(streamOf(smallPage, 16));
  const auto image = expectedImage(*Paper::testChart(), smallPage);
  for (std::uint32_t count = 0; count <= image.size(); ++count) {
    const auto bytes = drain(streamOf(smallPage, 16, {std::nullopt, count}));
    const std::size_t headers = 2 + (count + 15) / 16;
    ASSERT_EQ(bytes.size(), count + 8 * headers) << count;
    ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), whole.begin())) << count;
  }
}

TEST(JobStream, PutsGarbageBehindThePacketOfItsByte) {
  const auto whole = drain(streamOf(smallPage, 16));
  const auto bytes = drain(streamOf(smallPage, 16, {20, std::nullopt}));
  ASSERT_EQ(bytes.size(), whole.size() + 64);
  constexpr std::ptrdiff_t before = 16 + 2 * (8 + 16);
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + before, whole.begin()));
  EXPECT_TRUE(std::equal(bytes.begin() + before + 64, bytes.end(), whole.begin() + before));
  for (std::ptrdiff_t i = before; i < before + 64; ++i) {
    const std::uint8_t byte = bytes[static_cast<std::size_t>(i)];
    EXPECT_TRUE(byte >= 0x80 && byte < 0xAA) << "no packet type of the device, and a huge length";
  }
}

}  // namespace
}  // namespace virtualscanner
