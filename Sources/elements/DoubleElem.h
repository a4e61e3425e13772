#pragma once

#include <string>

#include "DataElem.h"

// A double. Its text carries single precision only; its int is truncated and saturates (NaN gives INT_MIN).
class DoubleElem : public DataElem {
 public:
  static const std::string _type;

  using DataElem::clone;

  explicit DoubleElem(double value);

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
  double doubleValue();

 private:
  double value;
};
