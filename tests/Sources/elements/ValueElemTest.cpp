#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "DoubleElem.h"
#include "IntegerElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "StringElem.h"
#include "Thrown.h"

namespace {

constexpr const char* generalRefusal = "NotSupportedException: General Exception";

// Checks that both copies are new, detached and of the same class, and gives the clone back.
template <typename T>
std::unique_ptr<T> expectCopies(T& element) {
  MapElem holder;
  holder.addChild("held", &element);
  std::unique_ptr<Element> copy(element.clone());
  const std::unique_ptr<Element> external(element.externalize(&holder));
  for (Element* const made : {copy.get(), external.get()}) {
    EXPECT_NE(made, &element);
    EXPECT_NE(dynamic_cast<T*>(made), nullptr);
    EXPECT_EQ(made->getName(), "");
    EXPECT_EQ(made->getParent(), nullptr);
    EXPECT_EQ(made->toString(), element.toString());
  }
  holder.removeChild("held");
  return std::unique_ptr<T>(dynamic_cast<T*>(copy.release()));
}

TEST(DataElem, EvaluatesToItself) {
  IntegerElem integer(1);
  MapElem context;
  EXPECT_EQ(integer.eval(&context, nullptr), &integer);
}

TEST(DataElem, ExternalizesToItselfUnlessAClassCopies) {
  struct OwnElem : DataElem {
    std::string stringValue() override { return ""; }
    int intValue() override { return 0; }
    bool booleanValue() override { return false; }
  };
  OwnElem own;
  EXPECT_EQ(own.externalize(nullptr), &own);
  EXPECT_TRUE(own.instanceOf("DataElem"));
}

TEST(IntegerElem, ConvertsItsValue) {
  EXPECT_EQ(IntegerElem(-5).stringValue(), "-5");
  EXPECT_EQ(IntegerElem(INT_MIN).stringValue(), "-2147483648");
  EXPECT_EQ(IntegerElem(INT_MAX).intValue(), INT_MAX);
  EXPECT_TRUE(IntegerElem(-5).booleanValue());
  EXPECT_FALSE(IntegerElem(0).booleanValue());
  EXPECT_EQ(IntegerElem(-5).toString(), ": -5");
}

TEST(IntegerElem, CopiesItself) {
  IntegerElem integer(42);
  EXPECT_EQ(expectCopies(integer)->intValue(), 42);
}

TEST(BooleanElem, ConvertsItsValue) {
  BooleanElem yes(true);
  BooleanElem no(false);
  EXPECT_EQ(yes.stringValue(), "true");
  EXPECT_EQ(no.stringValue(), "false");
  EXPECT_EQ(yes.intValue(), 1);
  EXPECT_EQ(no.intValue(), 0);
  EXPECT_TRUE(yes.booleanValue());
  EXPECT_FALSE(no.booleanValue());
  EXPECT_EQ(yes.toString(), ": true");
  EXPECT_EQ(no.toString(), ": false");
}

TEST(BooleanElem, ReadsThreeWordsAsTrue) {
  for (const char* text : {"true", "TRUE", "tRuE", "yes", "YES", "y", "Y"}) {
    EXPECT_TRUE(BooleanElem(text).booleanValue()) << text;
    EXPECT_TRUE(BooleanElem(std::string(text)).booleanValue()) << text;
  }
  for (const char* text : {"", "1", "t", "on", " true", "true ", "false", "no", "n", "\xD9"}) {
    EXPECT_FALSE(BooleanElem(text).booleanValue()) << text;
    EXPECT_FALSE(BooleanElem(std::string(text)).booleanValue()) << text;
  }
  EXPECT_FALSE(BooleanElem(std::string("yes\0", 4)).booleanValue());
}

TEST(BooleanElem, CopiesItself) {
  BooleanElem yes(true);
  BooleanElem no(false);
  EXPECT_TRUE(expectCopies(yes)->booleanValue());
  EXPECT_FALSE(expectCopies(no)->booleanValue());
}

TEST(DoubleElem, WritesItsSinglePrecisionValue) {
  EXPECT_EQ(DoubleElem(0.1).stringValue(), "0.100000");
  EXPECT_EQ(DoubleElem(0.1).toString(), ": 0.100000");
  EXPECT_EQ(DoubleElem(16777217.0).stringValue(), "16777216.000000");
  EXPECT_EQ(DoubleElem(123456789.0).stringValue(), "123456792.000000");
}

TEST(DoubleElem, RoundsToSinglePrecisionInfinityIncluded) {
  const std::string largest = "340282346638528859811704183484516925440.000000";
  // Half-way between the largest float and 2^128, which is where even rounding leaves the finite numbers.
  const double border = 0x1.ffffffp127;
  const struct {
    double value;
    std::string text;
  } rows[] = {
      {0x1.fffffep127, largest},
      {std::nextafter(border, 0.0), largest},
      {border, "inf"},
      {0x1p128, "inf"},
      {1e300, "inf"},
      {std::numeric_limits<double>::max(), "inf"},
      {std::numeric_limits<double>::infinity(), "inf"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(DoubleElem(row.value).stringValue(), row.text) << row.value;
    EXPECT_EQ(DoubleElem(-row.value).stringValue(), "-" + row.text) << row.value;
  }
}

TEST(DoubleElem, TruncatesToAnIntAndSaturates) {
  EXPECT_EQ(DoubleElem(2.9).intValue(), 2);
  EXPECT_EQ(DoubleElem(-2.9).intValue(), -2);
  EXPECT_EQ(DoubleElem(1e10).intValue(), INT_MAX);
  EXPECT_EQ(DoubleElem(-1e10).intValue(), INT_MIN);
  EXPECT_EQ(DoubleElem(std::numeric_limits<double>::quiet_NaN()).intValue(), INT_MIN);
}

TEST(DoubleElem, IsTrueUnlessItIsZero) {
  EXPECT_TRUE(DoubleElem(0.1).booleanValue());
  EXPECT_TRUE(DoubleElem(-1e-300).booleanValue());
  EXPECT_TRUE(DoubleElem(std::numeric_limits<double>::quiet_NaN()).booleanValue());
  EXPECT_FALSE(DoubleElem(0.0).booleanValue());
  EXPECT_FALSE(DoubleElem(-0.0).booleanValue());
}

TEST(DoubleElem, CopiesItselfWithFullPrecision) {
  DoubleElem number(0.1);
  EXPECT_EQ(expectCopies(number)->doubleValue(), 0.1);
}

TEST(StringElem, KeepsTextAndEncoding) {
  EXPECT_EQ(StringElem("x").stringValue(), "x");
  EXPECT_EQ(StringElem("x").encodingValue(), "");
  EXPECT_EQ(StringElem("x", "utf-8").stringValue(), "x");
  EXPECT_EQ(StringElem("x", "utf-8").encodingValue(), "utf-8");
  EXPECT_EQ(StringElem("x", "utf-8").toString(), ": x");
  EXPECT_EQ(StringElem("").toString(), ": ");
}

TEST(StringElem, ReadsNumbersThenWordsAsAnInt) {
  const struct {
    const char* text;
    int expected;
  } rows[] = {{"42", 42},  {"#1f", 31}, {"010", 10}, {"", 0},   {"99999999999", INT_MAX},
              {"true", 1}, {"Yes", 1},  {"Y", 1},    {"no", 0}, {"FALSE", 0},
              {"n", 0}};
  for (const auto& row : rows) EXPECT_EQ(StringElem(row.text).intValue(), row.expected) << row.text;
}

TEST(StringElem, RefusesOtherTextAsAnIntAsItStands) {
  EXPECT_EQ(thrown([] { StringElem("abc").intValue(); }),
            "ValueConversionException: Cannot convert to integerabc");
  EXPECT_EQ(thrown([] { StringElem("ABC ").intValue(); }),
            "ValueConversionException: Cannot convert to integerABC ");
  EXPECT_EQ(thrown([] { StringElem("0x10").intValue(); }),
            "ValueConversionException: Cannot convert to integer0x10");
  EXPECT_EQ(thrown([] { StringElem("yes ").intValue(); }),
            "ValueConversionException: Cannot convert to integeryes ");
}

TEST(StringElem, IsTrueForThreeWordsAlone) {
  for (const char* text : {"true", "Y", "yEs"}) EXPECT_TRUE(StringElem(text).booleanValue()) << text;
  for (const char* text : {"1", "", "on", "no", "yes "})
    EXPECT_FALSE(StringElem(text).booleanValue()) << text;
}

TEST(StringElem, CopiesTextAndEncoding) {
  StringElem text("x", "utf-8");
  const auto copy = expectCopies(text);
  EXPECT_EQ(copy->stringValue(), "x");
  EXPECT_EQ(copy->encodingValue(), "utf-8");
  const std::unique_ptr<Element> external(text.externalize(nullptr));
  EXPECT_EQ(dynamic_cast<StringElem&>(*external).encodingValue(), "utf-8");
}

TEST(NullElem, IsEmptyAndFalse) {
  NullElem null;
  EXPECT_EQ(null.stringValue(), "");
  EXPECT_FALSE(null.booleanValue());
  EXPECT_EQ(null.toString(), ":NULL");
  EXPECT_EQ(thrown([&] { null.intValue(); }), generalRefusal);
}

TEST(NullElem, CopiesItself) {
  NullElem null;
  EXPECT_NE(expectCopies(null), nullptr);
}

TEST(BinaryElem, CopiesTheBytesThatItIsGiven) {
  unsigned char bytes[] = {1, 0, 255};
  BinaryElem binary(bytes, 3);
  bytes[0] = 9;
  ASSERT_EQ(binary.binaryLength(), 3U);
  EXPECT_NE(binary.binaryValue(), bytes);
  const unsigned char expected[] = {1, 0, 255};
  EXPECT_EQ(std::memcmp(binary.binaryValue(), expected, 3), 0);
}

TEST(BinaryElem, HasNoBytesWhenItIsGivenNone) {
  BinaryElem copied(nullptr, 10);
  EXPECT_EQ(copied.binaryValue(), nullptr);
  EXPECT_EQ(copied.binaryLength(), 0U);
  BinaryElem adopted(nullptr, 10, true);
  EXPECT_EQ(adopted.binaryValue(), nullptr);
  EXPECT_EQ(adopted.binaryLength(), 0U);
  const unsigned char none[1] = {};
  EXPECT_EQ(BinaryElem(none, 0).binaryLength(), 0U);
}

TEST(BinaryElem, AdoptsABlockWhateverTheFlagSays) {
  for (const bool flag : {false, true}) {
    auto* const block = static_cast<unsigned char*>(std::calloc(4, 1));
    BinaryElem binary(block, 4, flag);
    EXPECT_EQ(binary.binaryValue(), block);
    EXPECT_EQ(binary.binaryLength(), 4U);
  }
}

TEST(BinaryElem, HasNoScalarValue) {
  BinaryElem binary(nullptr, 0);
  EXPECT_EQ(thrown([&] { binary.stringValue(); }), generalRefusal);
  EXPECT_EQ(thrown([&] { binary.intValue(); }), generalRefusal);
  EXPECT_EQ(thrown([&] { binary.booleanValue(); }), generalRefusal);
  EXPECT_EQ(binary.toString(), "BinaryElem");
}

TEST(BinaryElem, ClonesToItselfButExternalizesACopyOfTheBytes) {
  const unsigned char bytes[] = {1, 2};
  BinaryElem binary(bytes, 2);
  EXPECT_EQ(binary.clone(), &binary);
  const std::unique_ptr<Element> external(binary.externalize(nullptr));
  ASSERT_NE(external.get(), &binary);
  ASSERT_EQ(external->binaryLength(), 2U);
  EXPECT_NE(external->binaryValue(), binary.binaryValue());
  EXPECT_EQ(std::memcmp(external->binaryValue(), bytes, 2), 0);
}

TEST(DataElem, HasABinaryValueOnlyAsABinaryElem) {
  StringElem text("x");
  EXPECT_EQ(thrown([&] { text.binaryValue(); }), generalRefusal);
  EXPECT_EQ(thrown([&] { text.binaryLength(); }), generalRefusal);
  EXPECT_EQ(thrown([&] { text.objectValue(); }), generalRefusal);
}

}  // namespace
