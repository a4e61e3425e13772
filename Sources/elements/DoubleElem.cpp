#include "DoubleElem.h"

#include <utility>

#include "ElementVisitor.h"
#include "NumericConversion.h"
#include "StringUtils.h"

const std::string DoubleElem::_type = "DoubleElem";

DoubleElem::DoubleElem(double number) : value(number) {}

// Single precision on purpose: 0.1 has the text "0.100000", 16777217 that of 16777216.
std::string DoubleElem::stringValue() {
  return fToString(roundedToFloat(value));
}

std::string DoubleElem::toString() {
  return DataElem::toString() + ": " + stringValue();
}

int DoubleElem::intValue() {
  return saturatedToInt32(value);
}

bool DoubleElem::booleanValue() {
  return value != 0.0;
}

double DoubleElem::doubleValue() {
  return value;
}

Element* DoubleElem::clone() {
  return clone(new DoubleElem(value));
}

Element* DoubleElem::externalize(Element* /*context*/) {
  return new DoubleElem(value);
}

void DoubleElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtDoubleElem(this);
}

bool DoubleElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}
