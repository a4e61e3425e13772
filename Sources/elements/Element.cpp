#include "Element.h"

#include <cstdio>
#include <memory>
#include <utility>

#include "AliasElem.h"
#include "ElementIterator.h"
#include "Exceptions.h"

const std::string Element::_type = "Element";

Element::~Element() = default;

Element* Element::eval(Element* /*context*/, ListElem* /*args*/) {
  return this;
}

void* Element::objectValue() {
  throw NotSupportedException();
}

unsigned char* Element::binaryValue() {
  throw NotSupportedException();
}

unsigned int Element::binaryLength() {
  throw NotSupportedException();
}

std::string Element::toString() {
  return {};
}

void Element::added(std::string newName, Element* newParent) {
  if (parent != nullptr) throw ObjectStoreException("Element already added");
  name = std::move(newName);
  parent = newParent;
}

// Null is the parent of a detached element, so that removed(nullptr) clears the name that
// changeName() gave it.
void Element::removed(Element* oldParent) {
  if (oldParent != parent) return;
  name.clear();
  parent = nullptr;
}

std::string Element::getName() {
  return name;
}

Element* Element::getParent() {
  return parent;
}

Element* Element::clone() {
  return this;
}

Element* Element::clone(Element* target) {
  target->parent = nullptr;
  target->name.clear();
  return target;
}

void Element::accept(ElementVisitor* /*visitor*/) {}

bool Element::instanceOf(std::string typeName) {
  return typeName == _type;
}

Element* Element::getChild(const std::string& childName) {
  return getChild(childName, nullptr);
}

Element* Element::getChild(unsigned int index) {
  return getChild(index, nullptr);
}

Element* Element::getChild(const std::string& childName, ListElem* args) {
  return getChildRaw(childName)->eval(this, args);
}

Element* Element::getChild(unsigned int index, ListElem* args) {
  return getChildRaw(index)->eval(this, args);
}

ElementIterator* Element::iterator() {
  return iterator(true);
}

Element* Element::addChild(Element* child, std::string childName) {
  return addChild(childName, child);
}

Element* Element::addChild(Element* child, unsigned int index) {
  return addChild(index, child);
}

Element* Element::setChild(Element* child, std::string childName) {
  return setChild(std::move(childName), child);
}

Element* Element::setChild(Element* child, unsigned int index) {
  return setChild(index, child);
}

bool Element::hasChild(unsigned int index) {
  try {
    getChildRaw(index);
    return true;
  } catch (const NoSuchElementException&) {
    return false;
  }
}

bool Element::hasChild(const std::string& childName) {
  try {
    getChildRaw(childName);
    return true;
  } catch (const NoSuchElementException&) {
    return false;
  }
}

// Every ancestor counts, even a topmost one with an empty name: a child x of an unnamed map is ".x". Because
// getName() and getParent() are virtual, the full name of an alias is that of its target.
std::string Element::getFullName() {
  std::string fullName = getName();
  for (Element* ancestor = getParent(); ancestor != nullptr; ancestor = ancestor->getParent()) {
    fullName.insert(0, ancestor->getName() + ".");
  }
  return fullName;
}

void Element::changeName(std::string newName) {
  name = std::move(newName);
}

void Element::print(std::string title) {
  print("", std::move(title), this, 25);
}

void Element::print(std::string indent, std::string elementName, Element* element, int levels) {
  std::printf("%s %s : %s \r\n", indent.c_str(), elementName.c_str(), element->toString().c_str());
  if (levels <= 0) {
    std::puts("MAX NUMBER OF LEVEL REACHED!\r");
    return;
  }
  // Aliases may lead back to an ancestor.
  if (dynamic_cast<AliasElem*>(element) != nullptr) return;
  // A leaf throws: its exception ends the dump.
  const std::unique_ptr<ElementIterator> children(element->iterator(true));
  while (children->hasNext()) {
    const std::string childName = children->nextName();
    print(indent + "   ", childName, children->next(), levels - 1);
  }
}
