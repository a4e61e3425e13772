#include "StringElem.h"

#include <utility>

#include "BooleanWords.h"
#include "ElementVisitor.h"
#include "Exceptions.h"
#include "StringUtils.h"

const std::string StringElem::_type = "StringElem";

StringElem::StringElem(std::string text) : value(std::move(text)) {}

StringElem::StringElem(std::string text, std::string encodingName)
    : value(std::move(text)), encoding(std::move(encodingName)) {}

std::string StringElem::stringValue() {
  return value;
}

std::string StringElem::toString() {
  return DataElem::toString() + ": " + value;
}

int StringElem::intValue() {
  try {
    return StringToi(value);
  } catch (const ValueConversionException&) {
    if (meansTrue(value)) return 1;
    if (meansFalse(value)) return 0;
    // The text follows directly: "abc" gives "Cannot convert to integerabc".
    throw ValueConversionException("Cannot convert to integer" + value);
  }
}

bool StringElem::booleanValue() {
  return meansTrue(value);
}

Element* StringElem::clone() {
  return clone(new StringElem(value, encoding));
}

Element* StringElem::externalize(Element* /*context*/) {
  return new StringElem(value, encoding);
}

void StringElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtStringElem(this);
}

bool StringElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}

std::string StringElem::encodingValue() {
  return encoding;
}
