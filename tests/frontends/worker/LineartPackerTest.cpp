#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "LineartPacker.h"

namespace {

using frontend::LineartPacker;
using testing::ElementsAre;

std::vector<std::uint8_t> packed(LineartPacker& packer, const std::vector<std::uint8_t>& grey) {
  std::vector<std::uint8_t> result;
  packer.pack(grey.data(), grey.size(), result);
  return result;
}

TEST(LineartPacker, MakesGreyBelowTheThresholdBlackAndFillsRowsWithWhite) {
  LineartPacker packer(10, 100);
  EXPECT_THAT(packed(packer, {0, 99, 100, 255, 0, 255, 255, 0, 255, 0}), ElementsAre(0xC9, 0x40));
}

TEST(LineartPacker, KeepsWhatIsNoWholeByteForLater) {
  LineartPacker packer(9, 128);
  EXPECT_THAT(packed(packer, {0, 0, 0}), ElementsAre());
  EXPECT_THAT(packed(packer, {255, 255, 255, 255, 0, 0, 0}), ElementsAre(0xE1, 0x80));
  EXPECT_THAT(packed(packer, {255, 255, 255, 255, 255, 255, 255, 0}), ElementsAre(0x80, 0x80));
}

TEST(LineartPacker, KnowsTheEndsOfThresholds) {
  LineartPacker never(8, 0);
  EXPECT_THAT(packed(never, std::vector<std::uint8_t>(8, 0)), ElementsAre(0x00));
  LineartPacker most(8, 255);
  EXPECT_THAT(packed(most, {254, 255, 254, 255, 254, 255, 254, 255}), ElementsAre(0xAA));
}

TEST(LineartPacker, PacksTheSameHoweverThePictureIsCut) {
  std::mt19937 random(1);
  std::vector<std::uint8_t> grey(std::size_t{37} * 20);
  for (std::uint8_t& value : grey) value = static_cast<std::uint8_t>(random());
  LineartPacker whole(37, 128);
  const auto expected = packed(whole, grey);
  EXPECT_EQ(expected.size(), 100U);
  LineartPacker pieces(37, 128);
  std::vector<std::uint8_t> result;
  for (std::size_t at = 0; at < grey.size();) {
    const std::size_t count = std::min<std::size_t>(random() % 50, grey.size() - at);
    pieces.pack(&grey[at], count, result);
    at += count;
  }
  EXPECT_EQ(result, expected);
}

}  // namespace
