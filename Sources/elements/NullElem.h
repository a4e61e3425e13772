#pragma once

#include <string>

#include "DataElem.h"

// No value: the empty text and false; asked for an int it throws NotSupportedException.
class NullElem : public DataElem {
 public:
  static const std::string _type;

  using DataElem::clone;

  NullElem() = default;

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
};
