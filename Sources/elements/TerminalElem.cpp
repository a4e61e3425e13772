#include "TerminalElem.h"

#include <utility>

#include "Exceptions.h"
#include "StringUtils.h"

const std::string TerminalElem::_type = "TerminalElem";

namespace {

// Signed, as iToString() writes it: an index of 2^32 - 1 is -1 in the messages.
std::string decimal(unsigned int index) {
  return iToString(static_cast<int>(index));
}

}  // namespace

void TerminalElem::refuse(const std::string& operation) {
  throw NotSupportedException(operation + " not supported on " + getFullName());
}

Element* TerminalElem::getChildRaw(const std::string& childName) {
  refuse("getChild(" + childName + ")");
}

// The text "int)" follows the number directly: index 3 gives "getChild(3int)".
Element* TerminalElem::getChildRaw(unsigned int index) {
  refuse("getChild(" + decimal(index) + "int)");
}

Element* TerminalElem::removeChild(const std::string& childName) {
  refuse("removeChild(" + childName + ")");
}

Element* TerminalElem::removeChild(unsigned int index) {
  refuse("removeChild(" + decimal(index) + ")");
}

void TerminalElem::removeChildren() {
  refuse("removeChildren()");
}

unsigned int TerminalElem::getNumChildren() {
  refuse("getNumChildren()");
}

Element* TerminalElem::addChild(const std::string& childName, Element* child) {
  refuse("addChild(" + child->getName() + "," + childName + ")");
}

Element* TerminalElem::addChild(unsigned int index, Element* child) {
  refuse("addChild(" + child->getName() + "," + decimal(index) + ")");
}

Element* TerminalElem::setChild(std::string childName, Element* child) {
  refuse("setChild(" + child->getName() + "," + childName + ")");
}

Element* TerminalElem::setChild(unsigned int index, Element* child) {
  refuse("setChild(" + child->getName() + "," + decimal(index) + ")");
}

ElementIterator* TerminalElem::iterator(bool /*chain*/) {
  throw NotSupportedException();
}

bool TerminalElem::instanceOf(std::string typeName) {
  return typeName == _type || Element::instanceOf(std::move(typeName));
}
