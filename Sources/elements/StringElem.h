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
  /// Any bytes. The encoding is "" where it is left out.
  explicit StringElem(std::string value);
  StringElem(std::string value, std::string encoding);
  /// @}

  /// The text as it was given.
  std::string stringValue() override;
  /// ": " and the text.
  std::string toString() override;
  /// What StringToi() reads; else 1 for "true", "y", "yes" and 0 for "false", "n", "no" in any case;
  /// else throws ValueConversionException.
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
  /// The name of the encoding as it was given.
  std::string encodingValue();

 private:
  std::string value;
  std::string encoding;
};
