#include "DataElem.h"

#include <utility>

const std::string DataElem::_type = "DataElem";

Element* DataElem::eval(Element* /*context*/, ListElem* /*args*/) {
  return this;
}

Element* DataElem::externalize(Element* /*context*/) {
  return this;
}

bool DataElem::instanceOf(std::string typeName) {
  return typeName == _type || TerminalElem::instanceOf(std::move(typeName));
}
