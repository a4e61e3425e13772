#include "NullElem.h"

#include <utility>

#include "ElementVisitor.h"
#include "Exceptions.h"

const std::string NullElem::_type = "NullElem";

std::string NullElem::stringValue() {
  return {};
}

bool NullElem::booleanValue() {
  return false;
}

std::string NullElem::toString() {
  return DataElem::toString() + ":NULL";
}

Element* NullElem::clone() {
  return clone(new NullElem);
}

Element* NullElem::externalize(Element* /*context*/) {
  return new NullElem;
}

void NullElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtNullElem(this);
}

bool NullElem::instanceOf(std::string typeName) {
  return typeName == _type || DataElem::instanceOf(std::move(typeName));
}

int NullElem::intValue() {
  throw NotSupportedException();
}
