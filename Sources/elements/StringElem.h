#pragma once

#include <string>

#include "DataElem.h"

/// A text with the name of its encoding, which is only carried along ("" when none was given).
class StringElem : public DataElem {
 public:
  /// "StringElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// @{
  /// Any bytes. The encoding is "" where it is left out.
  explicit StringElem(std::string value);
  StringElem(std::string value, std::string encoding);
  /// @}

  /// The text as it was given.
  std::string stringValue() override;
  /// What StringToi reads; else 1 for "true", "y", "yes" and 0 for "false", "n", "no" in any case; else
  /// ValueConversionException.
  int intValue() override;
  /// True for "true", "y" and "yes" in any case; false for all else, numbers included.
  bool booleanValue() override;
  /// ": " and the text.
  std::string toString() override;
  Element* clone() override;
  Element* externalize(Element* context) override;
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
  /// The name of the encoding as it was given.
  std::string encodingValue();

 private:
  std::string value;
  std::string encoding;
};
