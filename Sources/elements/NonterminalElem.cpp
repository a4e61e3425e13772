#include "NonterminalElem.h"

#include <utility>

#include "Exceptions.h"

const std::string NonterminalElem::_type = "NonterminalElem";

std::string NonterminalElem::stringValue() {
  throw NotSupportedException("stringValue() not supported on " + getFullName());
}

int NonterminalElem::intValue() {
  throw NotSupportedException("intValue() not supported on " + getFullName());
}

bool NonterminalElem::booleanValue() {
  throw NotSupportedException("booleanValue() not supported on " + getFullName());
}

Element* NonterminalElem::clone(Element* target) {
  Element::clone(target);
  return target;
}

bool NonterminalElem::instanceOf(std::string typeName) {
  return typeName == _type || Element::instanceOf(std::move(typeName));
}
