#include "AliasElem.h"

#include <utility>

AliasElem::AliasElem(Element* aliased) : target(aliased) {}

Element* AliasElem::eval(Element* context, ListElem* args) {
  return target->eval(context, args);
}

Element* AliasElem::getChildRaw(const std::string& childName) {
  return target->getChildRaw(childName);
}

Element* AliasElem::getChildRaw(unsigned int index) {
  return target->getChildRaw(index);
}

ElementIterator* AliasElem::iterator(bool /*chain*/) {
  return target->iterator();
}

Element* AliasElem::addChild(const std::string& childName, Element* child) {
  return target->addChild(childName, child);
}

Element* AliasElem::addChild(unsigned int index, Element* child) {
  return target->addChild(index, child);
}

Element* AliasElem::setChild(std::string childName, Element* child) {
  return target->setChild(std::move(childName), child);
}

Element* AliasElem::setChild(unsigned int index, Element* child) {
  return target->setChild(index, child);
}

Element* AliasElem::removeChild(const std::string& childName) {
  return target->removeChild(childName);
}

Element* AliasElem::removeChild(unsigned int index) {
  return target->removeChild(index);
}

void AliasElem::removeChildren() {
  target->removeChildren();
}

unsigned int AliasElem::getNumChildren() {
  return target->getNumChildren();
}

std::string AliasElem::stringValue() {
  return target->stringValue();
}

int AliasElem::intValue() {
  return target->intValue();
}

bool AliasElem::booleanValue() {
  return target->booleanValue();
}

void* AliasElem::objectValue() {
  return target->objectValue();
}

std::string AliasElem::toString() {
  return ": " + target->getFullName();
}

std::string AliasElem::getName() {
  return target->getName();
}

Element* AliasElem::getParent() {
  return target->getParent();
}

Element* AliasElem::externalize(Element* context) {
  return target->externalize(context);
}

bool AliasElem::instanceOf(std::string typeName) {
  return target->instanceOf(std::move(typeName));
}
