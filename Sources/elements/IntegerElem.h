#pragma once

#include <cstdint>
#include <string>

#include "DataElem.h"

// A signed 32-bit integer.
class IntegerElem : public DataElem {
 public:
  static const std::string _type;

  using DataElem::clone;

  explicit IntegerElem(int value);

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  std::int32_t value;
};
