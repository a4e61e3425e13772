#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

#include "CommaLocale.h"
#include "Exceptions.h"
#include "StringUtils.h"

namespace {

// The number, or nothing when the text is refused with the one message that there is.
std::optional<std::int32_t> read(const std::string& text) {
  try {
    return StringToi(text);
  } catch (const ValueConversionException& refusal) {
    EXPECT_EQ(refusal.getMessage(), "Illegal conversion");
    return std::nullopt;
  }
}

constexpr std::nullopt_t refused = std::nullopt;
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

TEST(IToString, WritesTheWholeRange) {
  EXPECT_EQ(iToString(0), "0");
  EXPECT_EQ(iToString(-5), "-5");
  EXPECT_EQ(iToString(largest), "2147483647");
  EXPECT_EQ(iToString(smallest), "-2147483648");
}

TEST(UlToString, WritesTheWholeRange) {
  EXPECT_EQ(ulToString(0), "0");
  EXPECT_EQ(ulToString(2147483648U), "2147483648");
  EXPECT_EQ(ulToString(4294967295U), "4294967295");
}

TEST(FToString, WritesSixDigitsAfterThePointAndNoExponent) {
  const struct {
    float value;
    const char* text;
  } rows[] = {
      {0.0F, "0.000000"},
      {-0.0F, "-0.000000"},
      {0.1F, "0.100000"},
      {-2.5F, "-2.500000"},
      {0.0000005F, "0.000000"},  // The float is a little below one half of the last digit.
      {16777216.0F, "16777216.000000"},
      {std::numeric_limits<float>::max(), "340282346638528859811704183484516925440.000000"},
      {-std::numeric_limits<float>::max(), "-340282346638528859811704183484516925440.000000"},
      {std::numeric_limits<float>::denorm_min(), "0.000000"},
      {std::numeric_limits<float>::infinity(), "inf"},
      {-std::numeric_limits<float>::infinity(), "-inf"},
      {std::numeric_limits<float>::quiet_NaN(), "nan"},
  };
  for (const auto& row : rows) EXPECT_EQ(fToString(row.value), row.text);
}

TEST(FToString, AgreesWithPrintf) {
  for (float value = 1e-7F; value < 1e9F; value *= -3.7F) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%f", static_cast<double>(value));
    EXPECT_EQ(fToString(value), expected);
  }
}

TEST(StringToi, ReadsTheBaseThatThePrefixShows) {
  const struct {
    std::string text;
    std::optional<std::int32_t> expected;
  } rows[] = {
      {"123", 123},      {"-5", -5},       {"+5", 5},         {" 12", 12},       {"\t\n\v\f\r7", 7},
      {"12 ", refused},  {"1 2", refused}, {"abc", refused},  {"5x", refused},   {"", 0},
      {" ", refused},    {"-", refused},   {"+", refused},    {"--5", refused},  {"- 5", refused},
      {"#", 0},          {"#FF", 255},     {"#1f", 31},       {"#0x1F", 31},     {"#-10", -16},
      {"# 10", 16},      {"#G", refused},  {"#0x", refused},  {"##1", refused},  {" #FF", refused},
      {"0", 0},          {"00", 0},        {"010", 10},       {"017", 17},       {"09", 9},
      {"0010", 8},       {"008", refused}, {"0x10", refused}, {"0x1F", refused}, {"0X1F", refused},
      {"00x1F", 31},     {"00X1f", 31},    {"00x", refused},  {"00xg", refused}, {"0 12", 12},
      {"0-5", -5},       {"0+5", 5},       {"0o7", refused},  {"0o17", refused}, {"0b101", refused},
      {"00b1", refused}, {"-0x10", -16},   {"+0x10", 16},     {" 0x10", 16},     {"-010", -8},
      {" 010", 8},       {"-0", 0},        {"1.5", refused},  {"1e3", refused},  {"z", refused},
  };
  for (const auto& row : rows) EXPECT_EQ(read(row.text), row.expected) << '"' << row.text << '"';
}

TEST(StringToi, SaturatesAt32Bits) {
  EXPECT_EQ(read("2147483647"), largest);
  EXPECT_EQ(read("2147483648"), largest);
  EXPECT_EQ(read("-2147483648"), smallest);
  EXPECT_EQ(read("-2147483649"), smallest);
  EXPECT_EQ(read("4294967296"), largest);
  EXPECT_EQ(read("#FFFFFFFF"), largest);
  EXPECT_EQ(read("-0x80000001"), smallest);
  EXPECT_EQ(read("9223372036854775808"), largest);
  EXPECT_EQ(read("18446744073709551617"), largest);
  EXPECT_EQ(read(std::string(1000, '9')), largest);
  EXPECT_EQ(read("-" + std::string(1000, '9')), smallest);
  EXPECT_EQ(read(std::string(1000, '9') + "x"), refused);
}

TEST(StringToi, EndsAtAnEmbeddedNul) {
  EXPECT_EQ(read(std::string("12\0abc", 6)), 12);
  EXPECT_EQ(read(std::string("\0abc", 4)), 0);
  EXPECT_EQ(read(std::string("12x\0", 4)), refused);
}

TEST(StringToi, TakesHighBytesForNeitherBlanksNorDigits) {
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    const char high = static_cast<char>(byte);
    EXPECT_EQ(read(std::string{high, '1'}), refused);
    EXPECT_EQ(read(std::string{'1', high}), refused);
  }
}

TEST(StringToUpperCase, ChangesAsciiLettersAlone) {
  for (int byte = 0; byte <= 0xFF; ++byte) {
    const char in = static_cast<char>(byte);
    const char out = in >= 'a' && in <= 'z' ? static_cast<char>(in - 32) : in;
    EXPECT_EQ(StringToUpperCase(std::string{in}), std::string{out});
  }
  EXPECT_EQ(StringToUpperCase("a-z \xE4 x1"), "A-Z \xE4 X1");
}

TEST(StringUtils, DoNotDependOnTheLocale) {
  const CommaLocale locale;
  ASSERT_TRUE(locale.holds());
  EXPECT_EQ(fToString(0.5F), "0.500000");
  EXPECT_EQ(StringToUpperCase("i\xE9"), "I\xE9");
  EXPECT_EQ(URLEncodeString("\xE9"), "%E9");
}

}  // namespace
