#include <gtest/gtest.h>

#include <climits>
#include <exception>
#include <string>
#include <type_traits>

#include "Exceptions.h"

namespace {

template <typename T>
class EveryObjectStoreException : public testing::Test {};

using ObjectStoreExceptions =
    testing::Types<ObjectStoreException, ClassCastException, NoSuchElementException, NotSupportedException,
                   NumberFormatException, ValueConversionException, IndexOutOfBoundsException>;
TYPED_TEST_SUITE(EveryObjectStoreException, ObjectStoreExceptions);

TYPED_TEST(EveryObjectStoreException, SaysGeneralExceptionWhenNothingIsSaid) {
  EXPECT_EQ(TypeParam().getMessage(), "General Exception");
}

TYPED_TEST(EveryObjectStoreException, KeepsItsMessageUnchanged) {
  const std::string message("two\r\nlines and a \0 byte", 23);
  EXPECT_EQ(TypeParam(message).getMessage(), message);
}

TYPED_TEST(EveryObjectStoreException, IsExactlyItsMessage) {
  EXPECT_FALSE(std::is_polymorphic_v<TypeParam>);
  EXPECT_EQ(sizeof(TypeParam), sizeof(std::string));
}

TYPED_TEST(EveryObjectStoreException, IsCaughtByValueAsItselfAndAsItsBases) {
  EXPECT_THROW(throw TypeParam(), TypeParam);
  EXPECT_THROW(throw TypeParam(), ObjectStoreException);
  EXPECT_THROW(throw TypeParam(), Exception);
}

TYPED_TEST(EveryObjectStoreException, KeepsItsMessageWhenCaughtAsTheBase) {
  try {
    throw TypeParam("why");
  } catch (ObjectStoreException& caught) {
    EXPECT_EQ(caught.getMessage(), "why");
  }
}

// The root's message as accessible to a derived class.
struct Opened : Exception {
  using Exception::Exception;
  using Exception::message;
};

TEST(Exception, HasTheDefaultMessageOrTheOneGiven) {
  EXPECT_EQ(Opened().message, "General Exception");
  EXPECT_EQ(Opened("why").message, "why");
  EXPECT_FALSE(std::is_polymorphic_v<Exception>);
  EXPECT_EQ(sizeof(Exception), sizeof(std::string));
}

TEST(Exception, IsNotOfTheStandardFamily) {
  EXPECT_FALSE((std::is_base_of_v<std::exception, Exception>));
  EXPECT_FALSE((std::is_base_of_v<ObjectStoreException, Exception>));
}

TEST(NoSuchElementException, WritesACodeInDecimal) {
  EXPECT_EQ(NoSuchElementException(42).getMessage(), "42");
  EXPECT_EQ(NoSuchElementException(0).getMessage(), "0");
  EXPECT_EQ(NoSuchElementException(INT_MIN).getMessage(), "-2147483648");
}

TEST(ClassCastException, WritesACodeInDecimal) {
  EXPECT_EQ(ClassCastException(-1).getMessage(), "-1");
  EXPECT_EQ(ClassCastException(INT_MAX).getMessage(), "2147483647");
}

TEST(Exceptions, OnlyTwoClassesTakeACode) {
  EXPECT_FALSE((std::is_constructible_v<ObjectStoreException, int>));
  EXPECT_FALSE((std::is_constructible_v<NotSupportedException, int>));
  EXPECT_FALSE((std::is_constructible_v<NumberFormatException, int>));
  EXPECT_FALSE((std::is_constructible_v<ValueConversionException, int>));
  EXPECT_FALSE((std::is_constructible_v<IndexOutOfBoundsException, int>));
}

}  // namespace
