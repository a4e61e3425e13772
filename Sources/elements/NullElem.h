#pragma once

#include <string>

#include "DataElem.h"

/// No value: the empty text and false; asked for an int it throws NotSupportedException.
class NullElem : public DataElem {
 public:
  /// "NullElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// All are alike.
  NullElem() = default;

  /// Empty.
  std::string stringValue() override;
  /// Throws NotSupportedException.
  int intValue() override;
  /// False.
  bool booleanValue() override;
  /// ":NULL".
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
};
