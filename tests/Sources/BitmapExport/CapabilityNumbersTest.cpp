#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "BitmapExport.h"

using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

Dictionary oneValue(Value value) {
  Dictionary capability;
  capability.set("type", "TWON_ONEVALUE");
  capability.set("value", std::move(value));
  return capability;
}

Dictionary enumeration(Value current, Value value) {
  Dictionary capability;
  capability.set("type", "TWON_ENUMERATION");
  capability.set("current", std::move(current));
  capability.set("value", std::move(value));
  return capability;
}

Dictionary threeChoices(Value current) {
  return enumeration(std::move(current), Array{100, 200, 300});
}

// The result as text: neither function finds a number, or both do.
void expectNumber(const Dictionary& capability, std::int32_t integer, float real) {
  std::int32_t readInteger = 77;
  float readReal = 7.5F;
  EXPECT_EQ(GetIntFromDict(&capability, &readInteger), 0);
  EXPECT_EQ(readInteger, integer);
  EXPECT_EQ(GetFloatFromDict(&capability, &readReal), 0);
  EXPECT_EQ(readReal, real);
}

void expectNone(const Dictionary& capability) {
  std::int32_t integer = 77;
  float real = 7.5F;
  EXPECT_EQ(GetIntFromDict(&capability, &integer), -1);
  EXPECT_EQ(integer, 77);
  EXPECT_EQ(GetFloatFromDict(&capability, &real), -1);
  EXPECT_EQ(real, 7.5F);
}

TEST(CapabilityNumbers, AreTheElementAtTheCurrentIndexOfAnEnumeration) {
  expectNumber(threeChoices(0), 100, 100);
  expectNumber(threeChoices(2), 300, 300);
}

TEST(CapabilityNumbers, AreTheValueOfAOneValue) {
  expectNumber(oneValue(600), 600, 600);
  expectNumber(oneValue(-7), -7, -7);
}

TEST(CapabilityNumbers, AreNeverThereForAnotherType) {
  for (const char* type :
       {"TWON_RANGE", "TWON_ARRAY", "", "twon_onevalue", "TWON_ONEVALUE ", "TWON_ENUMERATIONS"}) {
    Dictionary capability = threeChoices(2);
    capability.set("type", type);
    expectNone(capability);
    capability.set("value", 100);
    expectNone(capability);
  }
}

TEST(CapabilityNumbers, AreNeverThereWithoutAType) {
  expectNone(Dictionary());
  Dictionary capability;
  capability.set("value", 5);
  expectNone(capability);
  capability.set("Type", "TWON_ONEVALUE");
  expectNone(capability);
}

TEST(CapabilityNumbers, AreNeverThereWhereTheTypeIsNoText) {
  for (const Value& type : {Value(1), Value(1.5), Value(Array{"TWON_ONEVALUE"}), Value(Dictionary())}) {
    Dictionary capability = oneValue(5);
    capability.set("type", type);
    expectNone(capability);
  }
}

TEST(CapabilityNumbers, AreNeverThereForAnIndexOutOfRange) {
  for (const std::int64_t index :
       {std::int64_t{3}, std::int64_t{4}, std::int64_t{-1}, std::int64_t{INT32_MAX}, std::int64_t{INT32_MIN},
        std::int64_t{1} << 32, INT64_MAX, INT64_MIN}) {
    expectNone(threeChoices(index));
  }
  for (const double index : {3.0, -1.0, 1e300, -1e300, notANumber, infinite, -infinite})
    expectNone(threeChoices(index));
  expectNone(enumeration(0, Array{}));
}

TEST(CapabilityNumbers, CutTheFractionOfAnIndexOff) {
  expectNumber(threeChoices(1.9), 200, 200);
  expectNumber(threeChoices(-0.9), 100, 100);
}

TEST(CapabilityNumbers, AreNeverThereWhereTheIndexIsMissingOrNoNumber) {
  for (const Value& current : {Value("1"), Value(Array{1}), Value(Dictionary())})
    expectNone(threeChoices(current));
  Dictionary capability;
  capability.set("type", "TWON_ENUMERATION");
  capability.set("value", Array{100});
  expectNone(capability);
}

TEST(CapabilityNumbers, AreNeverThereWhereAnEnumerationHasNoArray) {
  for (const Value& value : {Value(100), Value(1.5), Value("100"), Value(Dictionary())})
    expectNone(enumeration(0, value));
  Dictionary capability;
  capability.set("type", "TWON_ENUMERATION");
  capability.set("current", 0);
  expectNone(capability);
}

TEST(CapabilityNumbers, AreNeverThereWhereTheValueIsMissingOrNoNumber) {
  for (const Value& value : {Value("100"), Value(Array{100}), Value(Dictionary())}) {
    expectNone(oneValue(value));
    expectNone(enumeration(1, Array{100, value}));
  }
  Dictionary capability;
  capability.set("type", "TWON_ONEVALUE");
  expectNone(capability);
}

TEST(CapabilityNumbers, AreNeverThereForANullAddress) {
  std::int32_t integer = 77;
  float real = 7.5F;
  EXPECT_EQ(GetIntFromDict(nullptr, &integer), -1);
  EXPECT_EQ(GetFloatFromDict(nullptr, &real), -1);
  EXPECT_EQ(integer, 77);
  EXPECT_EQ(real, 7.5F);
  const Dictionary capability = oneValue(1);
  EXPECT_EQ(GetIntFromDict(&capability, nullptr), -1);
  EXPECT_EQ(GetFloatFromDict(&capability, nullptr), -1);
}

TEST(CapabilityNumbers, LoseTheirFractionWhenReadAsAnInteger) {
  expectNumber(oneValue(2.75), 2, 2.75F);
  expectNumber(oneValue(-2.75), -2, -2.75F);
  expectNumber(oneValue(0.5F), 0, 0.5F);
  expectNumber(enumeration(1, Array{1.5, 2.5, 3.5}), 2, 2.5F);
}

TEST(CapabilityNumbers, AreTheNearestFloatWhenReadAsOne) {
  expectNumber(oneValue(16777217), 16777217, 16777216.0F);
  expectNumber(oneValue(16777219), 16777219, 16777220.0F);
  expectNumber(oneValue(0.1), 0, 0.1F);
  expectNumber(oneValue(INT64_MAX), INT32_MAX, 9223372036854775808.0F);
}

TEST(CapabilityNumbers, SaturateWhereTheyAreOutOfRange) {
  constexpr float largest = std::numeric_limits<float>::max();
  expectNumber(oneValue(std::int64_t{1} << 31), INT32_MAX, 2147483648.0F);
  expectNumber(oneValue(-(std::int64_t{1} << 31) - 1), INT32_MIN, -2147483648.0F);
  expectNumber(oneValue(1e10), INT32_MAX, 1e10F);
  expectNumber(oneValue(1e300), INT32_MAX, largest);
  expectNumber(oneValue(-1e300), INT32_MIN, -largest);
  expectNumber(oneValue(infinite), INT32_MAX, std::numeric_limits<float>::infinity());
}

TEST(CapabilityNumbers, TakeNotANumberForTheSmallestInteger) {
  const Dictionary capability = oneValue(notANumber);
  std::int32_t integer = 77;
  EXPECT_EQ(GetIntFromDict(&capability, &integer), 0);
  EXPECT_EQ(integer, INT32_MIN);
  float real = 7.5F;
  EXPECT_EQ(GetFloatFromDict(&capability, &real), 0);
  EXPECT_TRUE(std::isnan(real));
}

}  // namespace
