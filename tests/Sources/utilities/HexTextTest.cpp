#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "StringUtils.h"

namespace {

using Bytes = std::vector<unsigned char>;

// The bytes written, checked to be ceil(length / 2).
Bytes fromHex(const std::string& text) {
  const std::size_t size = (text.size() + 1) / 2;
  Bytes area(size + 2, 0xA5);
  EXPECT_EQ(ahtom(text.c_str(), area.data() + 1), area.data() + 1);
  EXPECT_EQ(area.front(), 0xA5);
  EXPECT_EQ(area.back(), 0xA5);
  return {area.begin() + 1, area.end() - 1};
}

std::string printed(const unsigned char* bytes, std::int32_t count) {
  testing::internal::CaptureStdout();
  printHexBuffer(bytes, count);
  return testing::internal::GetCapturedStdout();
}

TEST(Ahtom, TurnsPairsOfDigitsIntoBytes) {
  EXPECT_EQ(fromHex("00"), (Bytes{0x00}));
  EXPECT_EQ(fromHex("0123456789ABCDEF"), (Bytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
  EXPECT_EQ(fromHex("abcdef"), (Bytes{0xAB, 0xCD, 0xEF}));
}

TEST(Ahtom, GivesAnOddTextAFirstByteOfOneDigit) {
  EXPECT_EQ(fromHex("ABC"), (Bytes{0x0A, 0xBC}));
  EXPECT_EQ(fromHex("F"), (Bytes{0x0F}));
  EXPECT_EQ(fromHex("12345"), (Bytes{0x01, 0x23, 0x45}));
}

TEST(Ahtom, WritesNothingForAnEmptyText) {
  EXPECT_EQ(fromHex(""), Bytes{});
}

// The upper-case code less 55, unmasked below and above.
TEST(Ahtom, MakesMeaninglessBytesOfForeignCharacters) {
  EXPECT_EQ(fromHex("G"), (Bytes{0x10}));
  EXPECT_EQ(fromHex("z"), (Bytes{0x23}));
  EXPECT_EQ(fromHex(" "), (Bytes{0xE9}));
  EXPECT_EQ(fromHex("1G"), (Bytes{0x10}));  // 0x10 | 0x10
  EXPECT_EQ(fromHex("G1"), (Bytes{0x01}));  // 0x100 | 0x01, cut to a byte
  EXPECT_EQ(fromHex("0 "), (Bytes{0xE9}));
  EXPECT_EQ(fromHex("\x80"), (Bytes{0x49}));
  EXPECT_EQ(fromHex("\xFF"), (Bytes{0xC8}));
}

TEST(PrintHexBuffer, PrintsSixteenBytesToALine) {
  std::array<unsigned char, 33> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(0xA0 + i);
  const std::string first = "A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF ";
  EXPECT_EQ(printed(bytes.data(), 1), "A0 \n");
  EXPECT_EQ(printed(bytes.data(), 16), first + "\n");
  EXPECT_EQ(printed(bytes.data(), 17), first + "\nB0 \n");
  EXPECT_EQ(printed(bytes.data(), 33), first + "\nB0 B1 B2 B3 B4 B5 B6 B7 B8 B9 BA BB BC BD BE BF \nC0 \n");
}

TEST(PrintHexBuffer, PrintsOnlyANewlineForNothing) {
  EXPECT_EQ(printed(nullptr, 0), "\n");
  EXPECT_EQ(printed(nullptr, -3), "\n");
}

}  // namespace
