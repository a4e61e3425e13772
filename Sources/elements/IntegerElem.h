#pragma once

#include <cstdint>
#include <string>

#include "DataElem.h"

/// A signed 32-bit integer.
class IntegerElem : public DataElem {
 public:
  /// "IntegerElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// Any value of the type.
  explicit IntegerElem(int value);

  /// The value itself.
  int intValue() override;
  /// False for 0 alone.
  bool booleanValue() override;
  /// Decimal.
  std::string stringValue() override;
  /// ": " and the text.
  std::string toString() override;
  /// @{
  /// A new IntegerElem with the value.
  Element* clone() override;
  Element* externalize(Element* context) override;
  /// @}
  /// Calls visitorAtIntegerElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  std::int32_t value;
};
