#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "BufferLine.h"
#include "Data.h"

namespace {

std::string wholeTextOf(const platform::Data* data) {
  std::string text;
  BufferLine(data).read([&](std::string_view piece) {
    text += piece;
    return true;
  });
  return text;
}

std::string wholeTextOf(const std::string& bytes) {
  const platform::DataRef data(platform::Data::withBytes(bytes.data(), bytes.size()));
  return wholeTextOf(data.get());
}

TEST(BufferLine, ShowsGroupsOfFourBytes) {
  EXPECT_EQ(wholeTextOf(""), "Buffer: <>");
  EXPECT_EQ(wholeTextOf("\x01"), "Buffer: <01>");
  EXPECT_EQ(wholeTextOf("\x01\xAB\xCD\xEF"), "Buffer: <01abcdef>");
  EXPECT_EQ(wholeTextOf("\x01\xAB\xCD\xEF\x7F"), "Buffer: <01abcdef 7f>");
  EXPECT_EQ(wholeTextOf(nullptr), "Buffer: (null)");
}

TEST(BufferLine, ShowsEveryByteOfABufferOfAnyLength) {
  std::string bytes;
  std::string expected;
  for (std::size_t count = 0; count < 5000; ++count) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned>(count * 7 % 256));
    if (count % 4 == 0 && count != 0) expected += ' ';
    expected += hex;
    bytes += static_cast<char>(count * 7 % 256);
    if (count % 1024 > 1020 || count % 1024 < 6) {
      ASSERT_EQ(wholeTextOf(bytes), "Buffer: <" + expected + ">") << count;
    }
  }
}

TEST(BufferLine, IsMadeInPiecesAndStopsWhenTheReaderHasEnough) {
  const std::string bytes(1000000, 'x');
  const platform::DataRef data(platform::Data::withBytes(bytes.data(), bytes.size()));
  int pieces = 0;
  std::size_t longest = 0;
  BufferLine(data.get()).read([&](std::string_view piece) {
    longest = std::max(longest, piece.size());
    return ++pieces < 3;
  });
  EXPECT_EQ(pieces, 3);
  EXPECT_LE(longest, 4096U);
}

TEST(BufferLine, StartsAnewEachTimeItIsRead) {
  const platform::DataRef data(platform::Data::withBytes("ab", 2));
  EXPECT_EQ(wholeTextOf(data.get()), wholeTextOf(data.get()));
}

}  // namespace
