#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <vector>

#include "Pieces.h"

namespace {

std::vector<std::uint8_t> inputOf(std::size_t size, std::uint8_t first) {
  std::vector<std::uint8_t> bytes(size);
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

TEST(Pieces, AreTheInputInOrderAndNeverEmpty) {
  for (const std::size_t size : {0u, 1u, 2u, 63u, 64u, 65u, 1000u}) {
    const std::vector<std::uint8_t> input = inputOf(size, 7);
    std::vector<std::uint8_t> joined;
    inPieces(input, [&](Bytes piece) {
      EXPECT_FALSE(piece.empty());
      joined.insert(joined.end(), piece.begin(), piece.end());
    });
    EXPECT_EQ(joined, input) << size;
  }
}

TEST(Pieces, AreTheSameForTheSameInputAndOthersForAnother) {
  const auto sizesOf = [](std::uint8_t first) {
    std::vector<std::size_t> sizes;
    inPieces(inputOf(200, first), [&](Bytes piece) { sizes.push_back(piece.size()); });
    return sizes;
  };
  EXPECT_EQ(sizesOf(1), sizesOf(1));
  std::set<std::vector<std::size_t>> different;
  for (std::uint8_t first = 0; first < 20; ++first) different.insert(sizesOf(first));
  EXPECT_THAT(different, testing::SizeIs(testing::Gt(15u)));
}

}  // namespace
