#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "IntegerScanner.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// All integers up to the first text that is not an integer.
std::vector<std::int32_t> integersOf(std::string_view text) {
  IntegerScanner scanner(text);
  std::vector<std::int32_t> integers;
  while (const std::optional<std::int32_t> integer = scanner.scanInt()) integers.push_back(*integer);
  return integers;
}

TEST(IntegerScanner, ReadsIntegersWithWhiteSpaceBeforeThem) {
  EXPECT_THAT(integersOf("4 2\n"), ElementsAre(4, 2));
  EXPECT_THAT(integersOf(" \t\r\n\v\f4\n\n0002"), ElementsAre(4, 2));
}

TEST(IntegerScanner, TakesASign) {
  EXPECT_THAT(integersOf("-4 +2-1"), ElementsAre(-4, 2, -1));
  EXPECT_THAT(integersOf("- 4"), IsEmpty());
  EXPECT_THAT(integersOf("--4"), IsEmpty());
  EXPECT_THAT(integersOf("+"), IsEmpty());
}

TEST(IntegerScanner, SaturatesWhatIsOutOfRange) {
  EXPECT_THAT(integersOf("2147483647 2147483648 99999999999999999999999999"),
              ElementsAre(INT32_MAX, INT32_MAX, INT32_MAX));
  EXPECT_THAT(integersOf("-2147483648 -2147483649 -99999999999999999999999999"),
              ElementsAre(INT32_MIN, INT32_MIN, INT32_MIN));
}

TEST(IntegerScanner, StaysWhereNoIntegerStands) {
  IntegerScanner scanner("12x 5");
  EXPECT_EQ(scanner.scanInt(), 12);
  EXPECT_EQ(scanner.scanInt(), std::nullopt);
  EXPECT_EQ(scanner.scanInt(), std::nullopt);
}

TEST(IntegerScanner, FindsNothingInAnEmptyText) {
  EXPECT_THAT(integersOf(""), IsEmpty());
  EXPECT_THAT(integersOf(" \n"), IsEmpty());
}

TEST(IntegerScanner, StopsAtANullByte) {
  using namespace std::string_view_literals;
  EXPECT_THAT(integersOf("4\0 2"sv), ElementsAre(4));
}

}  // namespace
