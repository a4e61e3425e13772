#include "ListElem.h"

#include <memory>
#include <utility>

#include "BooleanElem.h"
#include "ElementVisitor.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "IntegerText.h"
#include "StringElem.h"
#include "StringUtils.h"

const std::string ListElem::_type = "ListElem";

namespace {

// As atoi() reads it. A negative number becomes a position past the end of any list.
unsigned int indexOf(const std::string& childName) {
  return static_cast<unsigned int>(readInteger(childName.c_str(), 10, nullptr));
}

std::int32_t keyOf(unsigned int index) {
  return static_cast<std::int32_t>(index);
}

}  // namespace

ListElem::~ListElem() {
  for (auto first = children.begin(); first != children.end(); first = children.erase(first))
    delete first->second;
}

// The fast append skips added(): the element stays without name and parent until a neighbour's
// move renames it.
ListElem* ListElem::add(Element* element) {
  children[keyOf(getNumChildren())] = element;
  return this;
}

ListElem* ListElem::add(std::string text) {
  return add(new StringElem(std::move(text)));
}

ListElem* ListElem::add(char* text) {
  return add(std::string(text));
}

ListElem* ListElem::add(const char* text) {
  return add(std::string(text));
}

ListElem* ListElem::add(int value) {
  return add(new IntegerElem(value));
}

ListElem* ListElem::add(bool value) {
  return add(new BooleanElem(value));
}

Element* ListElem::getChildRaw(unsigned int index) {
  if (index < getNumChildren()) {
    const auto entry = children.find(keyOf(index));
    if (entry != children.end()) return entry->second;
  }
  throw NoSuchElementException(ulToString(index));
}

Element* ListElem::addChild(unsigned int index, Element* child) {
  if (index > getNumChildren()) throw IndexOutOfBoundsException("Index out of bounds on AddChild");
  child->added(ulToString(index), this);
  _addChild(index);
  children[keyOf(index)] = child;
  adjustChildNames(index);
  return nullptr;
}

Element* ListElem::setChild(unsigned int index, Element* child) {
  Element* const previous = ListElem::getChildRaw(index);
  // Stored before added() may throw: the list then holds a child that another container holds as well.
  children[keyOf(index)] = child;
  previous->removed(this);
  child->added(ulToString(index), this);
  return previous;
}

Element* ListElem::removeChild(unsigned int index) {
  Element* const child = ListElem::getChildRaw(index);
  _removeChild(index);
  child->removed(this);
  adjustChildNames(index);
  return child;
}

Element* ListElem::getChildRaw(const std::string& childName) {
  return getChildRaw(indexOf(childName));
}

Element* ListElem::addChild(const std::string& childName, Element* child) {
  return addChild(indexOf(childName), child);
}

Element* ListElem::setChild(std::string childName, Element* child) {
  return setChild(indexOf(childName), child);
}

Element* ListElem::removeChild(const std::string& childName) {
  return removeChild(indexOf(childName));
}

// Uses the iterator, so that an override of iterator() applies.
void ListElem::removeChildren() {
  const std::unique_ptr<ElementIterator> walk(iterator(true));
  while (walk->hasNext()) walk->next()->removed(this);
  children.clear();
}

unsigned int ListElem::getNumChildren() {
  return static_cast<unsigned int>(children.size());
}

ElementIterator* ListElem::iterator(bool /*chain*/) {
  return new ListIterator(this);
}

// Stays allocated if adding a child fails: it may hold children of the original, which it would delete.
Element* ListElem::clone() {
  return clone(new ListElem);
}

// A child that does not override clone() (binary, alias, operation) is added itself: the copy becomes its
// parent if it had none, as children of ListElem::add(), and its addition throws if it had one.
Element* ListElem::clone(Element* target) {
  auto* const list = dynamic_cast<ListElem*>(target);
  NonterminalElem::clone(target);
  if (list == nullptr) return nullptr;
  const unsigned int count = getNumChildren();
  for (unsigned int index = 0; index < count; ++index) list->addChild(index, getChildRaw(index)->clone());
  return list;
}

Element* ListElem::externalize(Element* /*context*/) {
  auto copy = std::make_unique<ListElem>();
  const std::unique_ptr<ElementIterator> walk(iterator(true));
  for (unsigned int index = 0; walk->hasNext(); ++index) {
    copy->addChild(index, walk->next()->externalize(this));
  }
  return copy.release();
}

void ListElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtListElem(this);
}

bool ListElem::instanceOf(std::string typeName) {
  return typeName == _type || NonterminalElem::instanceOf(std::move(typeName));
}

std::string* ListElem::childrenToString() {
  auto text = std::make_unique<std::string>("<List");
  for (const auto& [index, child] : children) *text += " " + child->toString();
  *text += ">";
  return text.release();
}

// Opens a gap at the index.
void ListElem::_addChild(unsigned int index) {
  for (unsigned int to = getNumChildren(); to > index; --to) children[keyOf(to)] = children[keyOf(to - 1)];
}

// Closes the gap at the index.
void ListElem::_removeChild(unsigned int index) {
  const unsigned int last = getNumChildren() - 1;
  for (unsigned int to = index; to < last; ++to) children[keyOf(to)] = children[keyOf(to + 1)];
  children.erase(keyOf(last));
}

void ListElem::adjustChildNames(unsigned int from) {
  for (auto entry = children.lower_bound(keyOf(from)); entry != children.end(); ++entry) {
    entry->second->changeName(iToString(entry->first));
  }
}

ListElem::ListIterator::ListIterator(ListElem* walked) : list(walked) {}

bool ListElem::ListIterator::hasNext() {
  return index < list->getNumChildren();
}

unsigned int ListElem::ListIterator::nextIndex() {
  if (!hasNext()) throw NoSuchElementException("OutofRange");
  return index;
}

std::string ListElem::ListIterator::nextName() {
  return ulToString(nextIndex());
}

Element* ListElem::ListIterator::next() {
  Element* const child = list->getChildRaw(nextIndex());
  ++index;
  return child;
}

Element* ListElem::ListIterator::next(ListElem* args) {
  Element* const child = list->getChild(nextIndex(), args);
  ++index;
  return child;
}
