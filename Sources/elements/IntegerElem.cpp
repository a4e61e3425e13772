#include "IntegerElem.h"

#include <utility>

#include "ElementVisitor.h"
#include "StringUtils.h"

const std::string IntegerElem::_type = "IntegerElem";

IntegerElem::IntegerElem(int number) : value(number) {}

int IntegerElem::intValue() {
  return value;
}

bool IntegerElem::booleanValue() {
  return value != 0;
}

std::string IntegerElem::stringValue() {
  return iToString(value);
}

std::string IntegerElem::toString() {
  return DataElem::toString() + ": " + stringValue();
}

Element* IntegerElem::clone() {
  return clone(new IntegerElem(value));
}

Element* IntegerElem::externalize(Element* /*context*/) {
  return new IntegerElem(value);
}

void IntegerElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtIntegerElem(this);
}

bool IntegerElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}
