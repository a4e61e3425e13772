#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ByteBlock.h"
#include "Data.h"

namespace {

using platform::ByteBlock;
using platform::Data;
using platform::DataRef;

constexpr std::size_t chunkSize = 102400;

// What the blocks have cost since it was made.
class Cost {
 public:
  std::size_t reserved() const { return ByteBlock::totals().reserved - before_.reserved; }
  std::uint64_t relocated() const { return ByteBlock::totals().relocated - before_.relocated; }

 private:
  ByteBlock::Totals before_ = ByteBlock::totals();
};

void appendInChunks(Data& data, std::size_t size) {
  const std::vector<std::uint8_t> chunk(chunkSize, 7);
  for (std::size_t done = 0; done < size; done += std::min(chunkSize, size - done)) {
    data.append(chunk.data(), std::min(chunkSize, size - done));
  }
}

TEST(DataCost, GrowingCopiesNoMoreForALargeBufferThanForASmallOne) {
  const Cost cost;
  const DataRef data(Data::create());
  appendInChunks(*data, std::size_t{36} << 20);
  EXPECT_EQ(data->length(), std::size_t{36} << 20);
  EXPECT_LE(cost.relocated(), 2 * ByteBlock::mappedFrom);
}

TEST(DataCost, GrowingByteByByteCopiesLittle) {
  const Cost cost;
  const DataRef data(Data::create());
  for (int count = 0; count < 100000; ++count) data->append("x", 1);
  EXPECT_LE(cost.relocated(), 200000U);
}

TEST(DataCost, TakingSuffixesAndAppendingToTheNewestCopiesNothingMore) {
  const Cost cost;
  DataRef front(Data::create());
  for (int packet = 0; packet < 10000; ++packet) {
    front->append("0123456789abcdef", 16);
    front = DataRef(Data::suffixOf(*front, 15));
  }
  EXPECT_EQ(front->length(), 10000U);
  EXPECT_LE(cost.relocated(), 2 * 160000U);
  EXPECT_LE(cost.reserved(), ByteBlock::hugePage) << "twice its 160000 bytes are a mapping";
}

TEST(DataCost, ATrimmedBufferTakesUpItsLengthToThePage) {
  const Cost cost;
  const DataRef data(Data::create());
  appendInChunks(*data, 5000001);
  data->trim();
  EXPECT_GE(cost.reserved(), 5000001U);
  EXPECT_LT(cost.reserved(), 5000001U + 65536U);
}

TEST(DataCost, ASmallTrimmedBufferTakesUpItsLength) {
  const Cost cost;
  const DataRef data(Data::create());
  data->append("abc", 3);
  data->append("d", 1);
  data->trim();
  EXPECT_EQ(cost.reserved(), 4U);
}

TEST(DataCost, NothingStaysReservedAfterTheLastRelease) {
  const Cost cost;
  DataRef whole(Data::create());
  appendInChunks(*whole, 1000000);
  DataRef rest(Data::suffixOf(*whole, 999999));
  whole.reset();
  EXPECT_GE(cost.reserved(), 1000000U);  // shared until the last object is released
  rest.reset();
  EXPECT_EQ(cost.reserved(), 0U);
}

std::uint8_t byteAt(std::size_t place) {
  return static_cast<std::uint8_t>(place * 31);
}

bool holdsItsBytes(const ByteBlock& block, std::size_t size) {
  for (std::size_t place = 0; place < size; ++place) {
    if (block.data()[place] != byteAt(place)) return false;
  }
  return true;
}

TEST(ByteBlock, KeepsItsBytesAtEverySizeUpAndDown) {
  ByteBlock block;
  std::size_t used = 0;
  for (std::size_t size = 1; size < std::size_t{16} << 20; size *= 3) {
    block.grow(size, used);
    ASSERT_GE(block.capacity(), size);
    EXPECT_TRUE(holdsItsBytes(block, used));
    for (; used < size; ++used) block.data()[used] = byteAt(used);
  }
  for (const std::size_t size : {used, used / 2, ByteBlock::mappedFrom / 2, std::size_t{1}}) {
    block.trim(size);
    EXPECT_TRUE(holdsItsBytes(block, size));
  }
}

// Elsewhere a mapping has small pages at its ends, and growing it splits the others.
TEST(ByteBlock, BeginsWhereAHugePageMayWhileItGrows) {
  ByteBlock block;
  for (std::size_t size = ByteBlock::mappedFrom; size < std::size_t{64} << 20; size *= 2) {
    block.grow(size, 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.data()) % ByteBlock::hugePage, 0U) << size;
    EXPECT_EQ(block.capacity() % ByteBlock::hugePage, 0U) << size;
  }
}

TEST(ByteBlock, LeavesALargeEnoughBlockAlone) {
  ByteBlock block;
  block.grow(100, 0);
  const std::uint8_t* place = block.data();
  block.grow(50, 0);
  block.grow(100, 0);
  EXPECT_EQ(block.data(), place);
  EXPECT_EQ(block.capacity(), 100U);
}

TEST(ByteBlock, IsUnchangedWhenItCannotGrow) {
  ByteBlock block;
  block.grow(3, 0);
  std::memcpy(block.data(), "abc", 3);
  EXPECT_THROW(block.grow(SIZE_MAX, 3), std::bad_alloc);
  EXPECT_THROW(block.grow(SIZE_MAX / 2, 3), std::bad_alloc);
  EXPECT_EQ(block.capacity(), 3U);
  EXPECT_EQ(std::memcmp(block.data(), "abc", 3), 0);
}

}  // namespace
