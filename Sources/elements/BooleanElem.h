#pragma once

#include <cstdint>
#include <string>

#include "DataElem.h"

// True or false, held as the word 1 or 0.
class BooleanElem : public DataElem {
 public:
  static const std::string _type;

  using DataElem::clone;

  explicit BooleanElem(bool value);
  // True for "true", "yes" and "y" in any case, false for any other text.
  explicit BooleanElem(std::string text);
  // Without this overload a literal would choose `bool` and always be true.
  explicit BooleanElem(const char* text);

  std::string stringValue() override;
  int intValue() override;
  bool booleanValue() override;
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;

 private:
  std::uint32_t value;
};
