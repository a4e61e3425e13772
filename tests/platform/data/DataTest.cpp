#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <string>
#include <vector>

#include "Data.h"

namespace {

using platform::Data;
using platform::DataRef;

DataRef dataOf(const std::string& text) {
  return DataRef(Data::withBytes(text.data(), text.size()));
}

DataRef suffixOf(const DataRef& whole, std::size_t offset) {
  return DataRef(Data::suffixOf(*whole, offset));
}

void append(const DataRef& data, const std::string& text) {
  data->append(text.data(), text.size());
}

std::string textOf(const DataRef& data) {
  return {reinterpret_cast<const char*>(data->bytes()), data->length()};
}

// Copies the bytes instead of sharing them, as a host's own implementation may.
class FixedData final : public Data {
 public:
  ~FixedData() override = default;
  void retain() override {}
  void release() override {}
  const std::uint8_t* bytes() const override { return bytes_; }
  std::size_t length() const override { return sizeof bytes_; }
  void append(const void* /*bytes*/, std::size_t /*count*/) override {}

 private:
  std::uint8_t bytes_[4] = {'a', 'b', 'c', 'd'};
};

TEST(Data, IsCreatedEmpty) {
  const DataRef data(Data::create());
  EXPECT_EQ(data->length(), 0U);
}

TEST(Data, CopiesTheBytesThatItIsMadeOf) {
  std::string text = "abc";
  const DataRef data = dataOf(text);
  text = "xyz";
  EXPECT_EQ(textOf(data), "abc");
}

TEST(Data, MayBeMadeOfNoBytes) {
  const DataRef data(Data::withBytes(nullptr, 0));
  EXPECT_EQ(data->length(), 0U);
}

TEST(Data, KeepsAppendedBytesInOrder) {
  const DataRef data = dataOf("a");
  append(data, "bc");
  append(data, "");
  append(data, std::string("\0d", 2));
  EXPECT_EQ(textOf(data), std::string("abc\0d", 5));
}

TEST(Data, LivesUntilItsLastReferenceIsReleased) {
  Data* data = Data::withBytes("abc", 3);
  data->retain();
  data->release();
  EXPECT_EQ(data->length(), 3U);
  data->release();
}

TEST(Data, AppendsBytesOfItsOwnWhileItMoves) {
  const DataRef data = dataOf("0123456789");
  std::string expected = "0123456789";
  for (int round = 0; round < 18; ++round) {  // up to 2.6 MB, past the size at which its memory is mapped
    data->append(data->bytes(), data->length());
    expected += expected;
  }
  EXPECT_EQ(textOf(data), expected);
}

TEST(Data, AppendsBytesOfAnOlderViewOfTheSameStorage) {
  const DataRef whole = dataOf("abcdef");
  const DataRef rest = suffixOf(whole, 3);
  rest->append(whole->bytes(), whole->length());
  EXPECT_EQ(textOf(rest), "defabcdef");
}

TEST(Data, RefusesALengthThatNoMemoryHolds) {
  const DataRef data = dataOf("abc");
  EXPECT_THROW(data->append("x", std::numeric_limits<std::size_t>::max()), std::bad_alloc);
  EXPECT_THROW(data->append("x", std::numeric_limits<std::size_t>::max() - 3), std::bad_alloc);
  const DataRef older = suffixOf(data, 1);
  append(data, "d");
  EXPECT_THROW(older->append("x", std::numeric_limits<std::size_t>::max()), std::bad_alloc);
  EXPECT_EQ(textOf(data), "abcd");
  EXPECT_EQ(textOf(older), "bc");
}

TEST(DataSuffix, StartsAtItsOffset) {
  const DataRef whole = dataOf("abcdef");
  EXPECT_EQ(textOf(suffixOf(whole, 0)), "abcdef");
  EXPECT_EQ(textOf(suffixOf(whole, 2)), "cdef");
  EXPECT_EQ(textOf(suffixOf(whole, 6)), "");
}

TEST(DataSuffix, IsEmptyPastTheEnd) {
  const DataRef whole = dataOf("abc");
  EXPECT_EQ(suffixOf(whole, 4)->length(), 0U);
  EXPECT_EQ(suffixOf(whole, std::numeric_limits<std::size_t>::max())->length(), 0U);
  EXPECT_EQ(suffixOf(DataRef(Data::create()), 1)->length(), 0U);
}

TEST(DataSuffix, SharesTheBytesInsteadOfCopyingThem) {
  const DataRef whole = dataOf("abcdef");
  EXPECT_EQ(suffixOf(whole, 2)->bytes(), whole->bytes() + 2);
  EXPECT_EQ(suffixOf(suffixOf(whole, 2), 3)->bytes(), whole->bytes() + 5);
}

TEST(DataSuffix, OutlivesTheWhole) {
  DataRef whole = dataOf("abcdef");
  const DataRef rest = suffixOf(whole, 4);
  whole.reset();
  EXPECT_EQ(textOf(rest), "ef");
}

TEST(DataSuffix, MayBeReleasedBeforeTheWhole) {
  const DataRef whole = dataOf("abcdef");
  suffixOf(whole, 4).reset();
  append(whole, "g");
  EXPECT_EQ(textOf(whole), "abcdefg");
}

TEST(DataSuffix, GrowsWithoutTheWholeNoticing) {
  const DataRef whole = dataOf("abc");
  const DataRef rest = suffixOf(whole, 1);
  append(rest, "de");
  EXPECT_EQ(textOf(rest), "bcde");
  EXPECT_EQ(textOf(whole), "abc");
}

TEST(DataSuffix, StaysAsItIsWhenTheWholeGrows) {
  const DataRef whole = dataOf("abc");
  const DataRef rest = suffixOf(whole, 1);
  append(whole, "XY");
  EXPECT_EQ(textOf(whole), "abcXY");
  EXPECT_EQ(textOf(rest), "bc");
}

TEST(DataSuffix, PartsFromTheWholeWhenBothGrow) {
  const DataRef whole = dataOf("abc");
  const DataRef rest = suffixOf(whole, 1);
  append(rest, "1");
  append(whole, "2");
  append(rest, "3");
  append(whole, "4");
  EXPECT_EQ(textOf(rest), "bc13");
  EXPECT_EQ(textOf(whole), "abc24");
}

TEST(DataSuffix, GrowsFromAnEmptyRest) {
  const DataRef whole = dataOf("abc");
  const DataRef rest = suffixOf(whole, 3);
  append(rest, "de");
  EXPECT_EQ(textOf(rest), "de");
  EXPECT_EQ(textOf(whole), "abc");
}

TEST(DataSuffix, OfAnotherImplementationIsACopy) {
  const FixedData foreign;
  const DataRef rest(Data::suffixOf(foreign, 1));
  EXPECT_EQ(textOf(rest), "bcd");
  EXPECT_NE(rest->bytes(), foreign.bytes() + 1);
  EXPECT_EQ(DataRef(Data::suffixOf(foreign, 9))->length(), 0U);
}

TEST(DataTrim, ChangesNoByteAndLeavesRoomToGrowAgain) {
  const DataRef whole = dataOf("abc");
  append(whole, "d");
  const DataRef rest = suffixOf(whole, 2);
  rest->trim();
  EXPECT_EQ(textOf(whole), "abcd");
  append(rest, "e");
  EXPECT_EQ(textOf(rest), "cde");
  DataRef(Data::create())->trim();
}

TEST(DataRef, HandsItsReferenceOverAndBack) {
  Data* data = Data::withBytes("abc", 3);
  DataRef first(data);
  DataRef second(std::move(first));
  EXPECT_EQ(second.get(), data);
  first = std::move(second);
  EXPECT_EQ(first.letGo(), data);
  EXPECT_FALSE(first);
  data->release();
}

}  // namespace
