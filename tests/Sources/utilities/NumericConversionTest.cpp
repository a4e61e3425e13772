#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "NumericConversion.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
constexpr float largestFloat = std::numeric_limits<float>::max();

TEST(SaturatedToInt32, TruncatesTowardZeroAndSaturates) {
  const struct {
    double value;
    std::int32_t expected;
  } rows[] = {
      {0.0, 0},
      {-0.9, 0},
      {2.9, 2},
      {-2.9, -2},
      {2147483647.0, largest},
      {2147483647.9, largest},
      {2147483648.0, largest},
      {1e300, largest},
      {infinity, largest},
      {-2147483648.0, smallest},
      {-2147483648.9, smallest},
      {-2147483649.0, smallest},
      {-1e300, smallest},
      {-infinity, smallest},
      {nan, smallest},
  };
  for (const auto& row : rows) EXPECT_EQ(saturatedToInt32(row.value), row.expected) << row.value;
}

TEST(SaturatedToInt32, TakesFloatsAsWell) {
  EXPECT_EQ(saturatedToInt32(2.9F), 2);
  EXPECT_EQ(saturatedToInt32(-2.9F), -2);
  EXPECT_EQ(saturatedToInt32(2147483648.0F), largest);
  EXPECT_EQ(saturatedToInt32(-largestFloat), smallest);
  EXPECT_EQ(saturatedToInt32(std::numeric_limits<float>::quiet_NaN()), smallest);
}

TEST(TruncatedToUInt32, CoversTheUnsignedRangeAndTakesNegativesAsSigned) {
  const struct {
    double value;
    std::uint32_t expected;
  } rows[] = {
      {0.0, 0},
      {-0.9, 0},
      {10200.7, 10200},
      {2147483648.0, 0x80000000},
      {4294967295.0, 0xFFFFFFFF},
      {4294967295.9, 0xFFFFFFFF},
      {4294967296.0, 0xFFFFFFFF},
      {infinity, 0xFFFFFFFF},
      {-1.5, 0xFFFFFFFF},
      {-2.0, 0xFFFFFFFE},
      {-2147483648.0, 0x80000000},
      {-2147483649.0, 0x80000000},
      {-1e300, 0x80000000},
      {-infinity, 0x80000000},
      {nan, 0x80000000},
  };
  for (const auto& row : rows) EXPECT_EQ(truncatedToUInt32(row.value), row.expected) << row.value;
}

TEST(SaturatedToFloat, NarrowsToTheNearestFloat) {
  EXPECT_EQ(saturatedToFloat(0.1), 0.1F);
  EXPECT_EQ(saturatedToFloat(16777217.0), 16777216.0F);
  EXPECT_EQ(saturatedToFloat(static_cast<double>(largestFloat)), largestFloat);
  EXPECT_EQ(saturatedToFloat(1e-300), 0.0F);
  EXPECT_TRUE(std::signbit(saturatedToFloat(-1e-300)));
}

TEST(SaturatedToFloat, GivesTheLargestFloatForFiniteValuesBeyondItsRange) {
  EXPECT_EQ(saturatedToFloat(1e39), largestFloat);
  EXPECT_EQ(saturatedToFloat(-1e39), -largestFloat);
  EXPECT_EQ(saturatedToFloat(std::numeric_limits<double>::max()), largestFloat);
  EXPECT_EQ(saturatedToFloat(std::nextafter(static_cast<double>(largestFloat), infinity)), largestFloat);
}

TEST(SaturatedToFloat, KeepsInfinitiesAndNaN) {
  EXPECT_EQ(saturatedToFloat(infinity), std::numeric_limits<float>::infinity());
  EXPECT_EQ(saturatedToFloat(-infinity), -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(saturatedToFloat(nan)));
}

TEST(RoundedToFloat, RoundsTiesToEvenAndLeavesTheRange) {
  const float infinite = std::numeric_limits<float>::infinity();
  const struct {
    double value;
    float expected;
  } rows[] = {
      {0.1, 0.1F},
      {16777217.0, 16777216.0F},
      {1e-300, 0.0F},
      {static_cast<double>(largestFloat), largestFloat},
      {0x1.fffffefffffffp127, largestFloat},
      {0x1.ffffffp127, infinite},
      {1e300, infinite},
      {infinity, infinite},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(roundedToFloat(row.value), row.expected) << row.value;
    EXPECT_EQ(roundedToFloat(-row.value), -row.expected) << row.value;
  }
  EXPECT_TRUE(std::isnan(roundedToFloat(nan)));
}

}  // namespace
