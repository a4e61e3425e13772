#include "BooleanElem.h"

#include <utility>

#include "BooleanWords.h"
#include "ElementVisitor.h"

const std::string BooleanElem::_type = "BooleanElem";

BooleanElem::BooleanElem(bool truth) : value(truth ? 1 : 0) {}

BooleanElem::BooleanElem(std::string text) : BooleanElem(meansTrue(std::move(text))) {}

BooleanElem::BooleanElem(const char* text) : BooleanElem(std::string(text)) {}

bool BooleanElem::booleanValue() {
  return value != 0;
}

std::string BooleanElem::stringValue() {
  return value == 1 ? "true" : "false";
}

std::string BooleanElem::toString() {
  return DataElem::toString() + ": " + stringValue();
}

int BooleanElem::intValue() {
  return static_cast<int>(value);
}

Element* BooleanElem::clone() {
  return clone(new BooleanElem(booleanValue()));
}

Element* BooleanElem::externalize(Element* /*context*/) {
  return new BooleanElem(booleanValue());
}

void BooleanElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtBooleanElem(this);
}

bool BooleanElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}
