#pragma once

#include <cstdint>
#include <string>

#include "DataElem.h"

/// True or false, stored as the word 1 or 0.
class BooleanElem : public DataElem {
 public:
  /// "BooleanElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// The value itself.
  explicit BooleanElem(bool value);
  /// True for "true", "yes" and "y" in any case, false for any other text.
  explicit BooleanElem(std::string text);
  /// Without this overload, a literal would select `bool` and always be true.
  explicit BooleanElem(const char* text);

  /// The value itself.
  bool booleanValue() override;
  /// "true" or "false".
  std::string stringValue() override;
  /// ": " and the text.
  std::string toString() override;
  /// 1 or 0.
  int intValue() override;
  /// @{
  /// A new BooleanElem with the value.
  Element* clone() override;
  Element* externalize(Element* context) override;
  /// @}
  /// Calls visitorAtBooleanElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  std::uint32_t value;
};
