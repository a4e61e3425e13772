#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "StringUtils.h"

namespace {

TEST(URLEncodeString, KeepsLettersDigitsUnderscoreAndPoint) {
  const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.";
  EXPECT_EQ(URLEncodeString(kept), kept);
}

TEST(URLEncodeString, EncodesEveryOtherByteInUpperCaseHex) {
  const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_. ";
  for (int byte = 0; byte <= 0xFF; ++byte) {
    const std::string text{static_cast<char>(byte)};
    if (kept.find(text) != std::string::npos) continue;
    char expected[4];
    std::snprintf(expected, sizeof expected, "%%%02X", static_cast<unsigned>(byte));
    EXPECT_EQ(URLEncodeString(text), expected);
  }
}

TEST(URLEncodeString, WritesABlankAsPlus) {
  EXPECT_EQ(URLEncodeString("a b-c.d_e"), "a+b%2Dc.d_e");
  EXPECT_EQ(URLEncodeString("~*+%"), "%7E%2A%2B%25");
  EXPECT_EQ(URLEncodeString(""), "");
}

TEST(URLDecodeString, ReadsPlusAndHex) {
  EXPECT_EQ(URLDecodeString("a+b%2dc"), "a b-c");
  EXPECT_EQ(URLDecodeString("%41%6A%2B"), "Aj+");
  EXPECT_EQ(URLDecodeString("\xE4~"), "\xE4~");
  EXPECT_EQ(URLDecodeString(""), "");
}

TEST(URLDecodeString, TakesWhatIsMissingAtTheEndForNul) {
  EXPECT_EQ(URLDecodeString("a%4"), "a\x04");
  EXPECT_EQ(URLDecodeString("a%"), std::string("a\0", 2));
  EXPECT_EQ(URLDecodeString("%%"), std::string("\xEE", 1));  // One digit, "%": 37 - 55.
}

TEST(URLDecodeString, TakesTheTwoCharactersUnchecked) {
  EXPECT_EQ(URLDecodeString("%G1x"),
            "\x01"
            "x");
  EXPECT_EQ(URLDecodeString("%+1"), "A");  // "+" is a digit here: 43 - 55, cut to 0x40 and joined with 1.
  EXPECT_EQ(URLDecodeString(std::string("%\0Ab", 4)), std::string("\0b", 2));
  EXPECT_EQ(URLDecodeString(std::string("%4\0b", 4)),
            "\x04"
            "b");
}

TEST(URLText, RoundTripsEveryByte) {
  std::string all;
  for (int byte = 0; byte <= 0xFF; ++byte) all += static_cast<char>(byte);
  EXPECT_EQ(URLDecodeString(URLEncodeString(all)), all);
}

}  // namespace
