#pragma once

#include <string>

#include "DataElem.h"

/// A double. Its text has single precision only; its int is truncated and saturates (NaN gives INT_MIN).
class DoubleElem : public DataElem {
 public:
  /// "DoubleElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// Any value, NaN and the infinities included.
  explicit DoubleElem(double value);

  /// fToString() of the value rounded to single precision: "inf" or "-inf" beyond its range.
  std::string stringValue() override;
  /// ": " and the text.
  std::string toString() override;
  /// Truncated toward zero, saturating at both ends.
  int intValue() override;
  /// False for 0 alone; NaN is true.
  bool booleanValue() override;
  /// The value in full precision.
  double doubleValue();
  /// @{
  /// A new DoubleElem with the value in full precision.
  Element* clone() override;
  Element* externalize(Element* context) override;
  /// @}
  /// Calls visitorAtDoubleElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  double value;
};
