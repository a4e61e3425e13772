#pragma once

#include <string>

#include "DataElem.h"

/// A text with the name of its encoding, which is only stored ("" when none was given): nothing
/// converts the text.
class StringElem : public DataElem {
 public:
  /// "StringElem", for instanceOf().
  static const std::string _type;

  using DataElem::clone;

  /// @{
  /// Any bytes. The encoding is "" by default.
  explicit StringElem(std::string value);
  StringElem(std::string value, std::string encoding);
  /// @}

  /// The unchanged text.
  std::string stringValue() override;
  /// ": " and the text.
  std::string toString() override;
  /// The result of StringToi(); otherwise 1 for "true", "y", "yes" and 0 for "false", "n", "no" in any case;
  /// otherwise throws ValueConversionException.
  int intValue() override;
  /// True for "true", "y" and "yes" in any case; false for all other text, numbers included.
  bool booleanValue() override;
  /// @{
  /// A new StringElem with the text and the name of its encoding.
  Element* clone() override;
  Element* externalize(Element* context) override;
  /// @}
  /// Calls visitorAtStringElem().
  void accept(ElementVisitor* visitor) override;
  bool instanceOf(std::string typeName) override;
  /// The unchanged name of the encoding.
  std::string encodingValue();

 private:
  std::string value;
  std::string encoding;
};
