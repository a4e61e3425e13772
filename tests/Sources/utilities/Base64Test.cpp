#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "StringUtils.h"

namespace {

std::string encode(const std::string& bytes) {
  return StrToBase64(reinterpret_cast<const unsigned char*>(bytes.data()),
                     static_cast<std::int32_t>(bytes.size()));
}

// The bytes written; checks that none beyond the returned count is touched.
std::string decode(const std::string& text, std::size_t capacity) {
  std::vector<unsigned char> area(capacity + 4, 0xA5);
  const std::int32_t written = Base64ToStr(text.c_str(), area.data(), static_cast<std::int32_t>(capacity));
  EXPECT_LE(static_cast<std::size_t>(written), capacity);
  for (std::size_t i = static_cast<std::size_t>(written); i < area.size(); ++i) EXPECT_EQ(area[i], 0xA5);
  return {area.begin(), area.begin() + written};
}

// One character at a time, straight from the rules.
std::string decodeSlowly(const std::string& text, std::size_t capacity) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  std::uint32_t accumulator = 0;
  int group = 0;
  int padding = 0;
  for (const char c : text) {
    if (c == '\0' || out.size() == capacity || padding < 0) break;
    std::uint32_t value = 0;
    if (c == '=') {
      ++padding;
    } else if (c == 'y') {
      value = 59;
    } else {
      const std::size_t found = alphabet.find(c);
      if (found == std::string::npos) continue;
      value = static_cast<std::uint32_t>(found);
    }
    accumulator = accumulator << 6 | value;
    if (++group < 4) continue;
    for (int i = 0; i < 3 - padding && out.size() < capacity; ++i) {
      out += static_cast<char>(accumulator >> 16 & 0xFF);
      accumulator <<= 8;
    }
    group = 0;
    accumulator = 0;
    if (padding != 0) padding = -1;
  }
  return out;
}

TEST(StrToBase64, PadsTheLastGroup) {
  EXPECT_EQ(encode(""), "");
  EXPECT_EQ(encode("M"), "TQ==");
  EXPECT_EQ(encode("Ma"), "TWE=");
  EXPECT_EQ(encode("Man"), "TWFu");
  EXPECT_EQ(encode("hello world"), "aGVsbG8gd29ybGQ=");
  EXPECT_EQ(encode("foobar"), "Zm9vYmFy");
}

TEST(StrToBase64, UsesTheWholeAlphabetWithoutLineBreaks) {
  // 48 bytes whose 64 groups of six bits are 0 to 63.
  std::string bytes;
  for (unsigned i = 0; i < 64; i += 4) {
    bytes += static_cast<char>(i << 2 | (i + 1) >> 4);
    bytes += static_cast<char>((i + 1) << 4 | (i + 2) >> 2);
    bytes += static_cast<char>((i + 2) << 6 | (i + 3));
  }
  EXPECT_EQ(encode(bytes), "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  EXPECT_EQ(encode(std::string(300, '\xFF')), std::string(400, '/'));
}

TEST(StrToBase64, GivesNothingForACountOfZeroOrLess) {
  EXPECT_EQ(StrToBase64(nullptr, 0), "");
  EXPECT_EQ(StrToBase64(nullptr, -1), "");
  EXPECT_EQ(StrToBase64(nullptr, INT32_MIN), "");
}

TEST(Base64ToStr, FollowsItsRules) {
  const struct {
    std::string text;
    std::size_t capacity;
    std::string expected;
  } rows[] = {
      {"TWFu", 10, "Man"},
      {"TWFu", 3, "Man"},
      {"TWFu", 2, "Ma"},
      {"TWFu", 1, "M"},
      {"TWFu", 0, ""},
      {"TW Fu", 10, "Man"},
      {" T\r\nW\tF-_u\x80\xFF", 10, "Man"},
      {"TWE=", 10, "Ma"},
      {"TQ==", 10, "M"},
      {"TQ==", 1, "M"},
      {"", 10, ""},
      {"T", 10, ""},  // Fewer than four characters give nothing.
      {"TWF", 10, ""},
      {"TWFuTWF", 10, "Man"},
      {"TWE=TWFu", 10, "Ma"},               // A padded group ends the text.
      {"QQ=A", 10, std::string("A\0", 2)},  // "=" counts as padding wherever it is.
      {"=QQA", 10, std::string("\x01\x04", 2)},
      {"T===", 10, ""},
      {"====TWFu", 10, ""},
      {"TQ=\n=TWFu", 10, "M"},
      {"TQ=", 10, ""},
      {"aGVsbG8gd29ybGQ=", 100, "hello wo{ld"},  // "y" reads as "7".
      {"yw==", 10, "\xEF"},
      {"TWFuTWFu", 5, "ManMa"},
      {std::string("TWFu\0TWFu", 9), 10, "Man"},
  };
  for (const auto& row : rows) EXPECT_EQ(decode(row.text, row.capacity), row.expected) << row.text;
}

TEST(Base64ToStr, TakesANegativeCapacityForAnEmptyOne) {
  EXPECT_EQ(Base64ToStr("TWFu", nullptr, -1), 0);
  EXPECT_EQ(Base64ToStr("TWFu", nullptr, INT32_MIN), 0);
}

TEST(Base64ToStr, ReadsEachCharacterByItsTable) {
  for (int byte = 1; byte <= 0xFF; ++byte) {
    const std::string text = "AAA" + std::string{static_cast<char>(byte)} + "AAAA";
    EXPECT_EQ(decode(text, 100), decodeSlowly(text, 100)) << byte;
  }
}

TEST(Base64ToStr, AgreesWithTheRulesOnRandomText) {
  std::mt19937 random(750);
  const std::string characters = "ABCxyz0189+/yyAAAAAAAAAAAABBBBBBBBBBBBcccccccccc= \n\x80";
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const std::size_t size = random() % 40;
    while (text.size() < size) text += characters[random() % characters.size()];
    const std::size_t capacity = random() % 32;
    ASSERT_EQ(decode(text, capacity), decodeSlowly(text, capacity)) << text << " into " << capacity;
  }
}

TEST(Base64, TextWithoutAYRoundTrips) {
  std::mt19937 random(751);
  int compared = 0;
  for (std::size_t size = 0; size < 400; ++size) {
    std::string bytes;
    while (bytes.size() < size) bytes += static_cast<char>(random());
    const std::string text = encode(bytes);
    if (text.find('y') != std::string::npos) continue;
    EXPECT_EQ(decode(text, size), bytes);
    ++compared;
  }
  EXPECT_GT(compared, 20);
}

}  // namespace
