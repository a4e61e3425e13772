#pragma once

#include <string>

#include "DataElem.h"

/// No value: the empty text and false.
class NullElem : public DataElem {
 public:
  /// "NullElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// All instances are equal.
  NullElem() = default;

  /// Empty.
  std::string stringValue() override;
  /// False.
  bool booleanValue() override;
  /// ":NULL".
  std::string toString() override;
  /// @{
  /// A new NullElem.
  Element* clone() override;
  Element* externalize(Element* context) override;
  /// @}
  /// Calls visitorAtNullElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
  /// Throws NotSupportedException: the absence of a value is not zero.
  int intValue() override;
};
