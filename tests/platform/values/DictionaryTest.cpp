#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "Dictionary.h"

using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

TEST(Dictionary, FindsWhatWasSetUnderAName) {
  Dictionary dictionary;
  dictionary.set("one", 1);
  dictionary.set("two", "zwei");
  EXPECT_EQ(*dictionary.find("one")->wholeNumber(), 1);
  EXPECT_EQ(*dictionary.find("two")->text(), "zwei");
}

TEST(Dictionary, FindsNothingUnderAnotherName) {
  Dictionary dictionary;
  EXPECT_EQ(dictionary.find("one"), nullptr);
  dictionary.set("one", 1);
  for (const char* name : {"", "on", "One", "one "}) EXPECT_EQ(dictionary.find(name), nullptr);
}

TEST(Dictionary, ReplacesTheValueUnderAName) {
  Dictionary dictionary;
  dictionary.set("one", 1);
  dictionary.set("one", "eins");
  EXPECT_EQ(dictionary.find("one")->wholeNumber(), nullptr);
  EXPECT_EQ(*dictionary.find("one")->text(), "eins");
}

TEST(Dictionary, IsOneOfItsOwnOnceCopied) {
  Dictionary dictionary;
  dictionary.set("one", Array{1, 2});
  Dictionary copy = dictionary;
  copy.set("one", 7);
  EXPECT_EQ(dictionary.find("one")->array()->size(), 2U);
  EXPECT_EQ(*copy.find("one")->wholeNumber(), 7);
}

TEST(Dictionary, HoldsDictionariesAndArraysOfThem) {
  Dictionary inner;
  inner.set("depth", 2);
  Dictionary outer;
  outer.set("inner", inner);
  outer.set("list", Array{1, inner, "x"});
  EXPECT_EQ(*outer.find("inner")->dictionary()->find("depth")->wholeNumber(), 2);
  EXPECT_EQ(*(*outer.find("list")->array())[1].dictionary()->find("depth")->wholeNumber(), 2);
}

// "text", "whole", "fraction", "array", "dictionary": every kind that the value reports.
std::string kindsOf(const Value& value) {
  std::string kinds;
  if (value.text() != nullptr) kinds += "text";
  if (value.wholeNumber() != nullptr) kinds += "whole";
  if (value.fraction() != nullptr) kinds += "fraction";
  if (value.array() != nullptr) kinds += "array";
  if (value.dictionary() != nullptr) kinds += "dictionary";
  return kinds;
}

TEST(Value, IsOfOneKind) {
  EXPECT_EQ(kindsOf("text"), "text");
  EXPECT_EQ(kindsOf(std::string()), "text");
  EXPECT_EQ(kindsOf(0), "whole");
  EXPECT_EQ(kindsOf(1.0), "fraction");
  EXPECT_EQ(kindsOf(1.0F), "fraction");
  EXPECT_EQ(kindsOf(Array{}), "array");
  EXPECT_EQ(kindsOf(Dictionary()), "dictionary");
}

TEST(Value, KeepsWholeNumbersExactly) {
  EXPECT_EQ(*Value(std::numeric_limits<int>::min()).wholeNumber(), std::numeric_limits<int>::min());
  EXPECT_EQ(*Value(4294967295U).wholeNumber(), 4294967295);
  EXPECT_EQ(*Value(INT64_MIN).wholeNumber(), INT64_MIN);
  EXPECT_EQ(*Value(INT64_MAX).wholeNumber(), INT64_MAX);
  EXPECT_EQ(*Value(9007199254740993LL).wholeNumber(), 9007199254740993);
  EXPECT_EQ(*Value(short{-3}).wholeNumber(), -3);
}

TEST(Value, KeepsFractionsExactly) {
  EXPECT_EQ(*Value(0.1).fraction(), 0.1);
  EXPECT_EQ(*Value(0.1F).fraction(), static_cast<double>(0.1F));
  EXPECT_TRUE(std::isnan(*Value(std::nan("")).fraction()));
}

TEST(Value, TakesANullPointerForAnEmptyText) {
  const char* none = nullptr;
  EXPECT_EQ(*Value(none).text(), "");
}

TEST(Value, IsMadeOfNoTruthValue) {
  EXPECT_FALSE((std::is_constructible_v<Value, bool>));
  EXPECT_FALSE((std::is_constructible_v<Value, void*>));
}

}  // namespace
