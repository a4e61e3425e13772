#include "MapElem.h"

#include <memory>
#include <utility>

#include "ElementVisitor.h"
#include "Exceptions.h"
#include "StringUtils.h"

const std::string MapElem::_type = "MapElem";

namespace {

std::string nameOf(unsigned int index) {
  return iToString(static_cast<int>(index));
}

}  // namespace

MapElem::~MapElem() {
  while (!children.empty()) {
    const auto first = children.begin();
    delete first->second;
    children.erase(first);
  }
}

Element* MapElem::getChildRaw(const std::string& childName) {
  const auto entry = children.find(childName);
  if (entry == children.end()) throw NoSuchElementException("getChildRaw:" + childName + "not found");
  return entry->second;
}

Element* MapElem::addChild(const std::string& childName, Element* child) {
  // The child that had the name is not detached: the caller gets it with its name and parent.
  child->added(childName, this);
  return std::exchange(children[childName], child);
}

Element* MapElem::setChild(std::string childName, Element* child) {
  // This look-up is virtual: in a composite it may find a child of the enclosure, which ignores removed() of
  // this map.
  Element* const previous = getChildRaw(childName);
  previous->removed(this);
  children[childName] = child;
  child->added(std::move(childName), this);
  return previous;
}

Element* MapElem::removeChild(const std::string& childName) {
  const auto entry = children.find(childName);
  if (entry == children.end()) throw NoSuchElementException("MapElem::removeChild");
  Element* const child = entry->second;
  child->removed(this);
  children.erase(entry);
  return child;
}

Element* MapElem::getChildRaw(unsigned int index) {
  return getChildRaw(nameOf(index));
}

Element* MapElem::addChild(unsigned int index, Element* child) {
  return addChild(nameOf(index), child);
}

Element* MapElem::setChild(unsigned int index, Element* child) {
  return setChild(nameOf(index), child);
}

Element* MapElem::removeChild(unsigned int index) {
  return removeChild(nameOf(index));
}

ElementIterator* MapElem::iterator(bool /*chain*/) {
  return new ElementIteratorImpl(this);
}

unsigned int MapElem::getNumChildren() {
  return static_cast<unsigned int>(children.size());
}

void MapElem::removeChildren() {
  const std::unique_ptr<ElementIterator> walk(iterator(true));
  while (walk->hasNext()) walk->next()->removed(this);
  children.clear();
}

void MapElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtMapElem(this);
}

bool MapElem::instanceOf(std::string typeName) {
  return typeName == _type || NonterminalElem::instanceOf(std::move(typeName));
}

// Stays allocated if adding a child fails: it may hold children of the original, which it would delete.
Element* MapElem::clone() {
  return clone(new MapElem);
}

// A child that does not override clone() (binary, alias, operation) is added itself: the copy becomes its
// parent if it had none, as children of ListElem::add(), and its addition throws if it had one.
Element* MapElem::clone(Element* target) {
  NonterminalElem::clone(target);
  if (auto* const map = dynamic_cast<MapElem*>(target)) {
    const std::unique_ptr<ElementIterator> walk(iterator(false));
    while (walk->hasNext()) {
      const std::string childName = walk->nextName();
      map->addChild(childName, walk->next()->clone());
    }
  }
  return target;
}

// The first entry of a name wins: in a composite's chained walk that is the most specific one.
Element* MapElem::externalize(Element* /*context*/) {
  auto copy = std::make_unique<MapElem>();
  const std::unique_ptr<ElementIterator> walk(iterator(true));
  while (walk->hasNext()) {
    const std::string childName = walk->nextName();
    Element* const child = walk->next();
    if (childName.starts_with('_') || copy->hasChild(childName)) continue;
    copy->addChild(childName, child->externalize(this));
  }
  return copy.release();
}

std::string* MapElem::childrenToString() {
  auto text = std::make_unique<std::string>("<Map");
  for (const auto& [childName, child] : children) *text += "(" + childName + " " + child->toString() + ")";
  *text += ">";
  return text.release();
}

MapElem::ElementIteratorImpl::ElementIteratorImpl(MapElem* walked)
    : map(walked), position(walked->children.cbegin()) {}

bool MapElem::ElementIteratorImpl::hasNext() {
  return position != map->children.cend();
}

std::string MapElem::ElementIteratorImpl::nextName() {
  if (!hasNext()) throw NoSuchElementException("MapElem::ElementIteratorImpl.nextName");
  return position->first;
}

unsigned int MapElem::ElementIteratorImpl::nextIndex() {
  return static_cast<unsigned int>(StringToi(nextName()));
}

Element* MapElem::ElementIteratorImpl::next() {
  if (!hasNext()) throw NoSuchElementException("MapElem::ElementIteratorImpl.next");
  Element* const child = map->getChildRaw(position->first);
  ++position;
  return child;
}

Element* MapElem::ElementIteratorImpl::next(ListElem* args) {
  if (!hasNext()) throw NoSuchElementException("MapElem::ElementIteratorImpl.next");
  Element* const child = map->getChild(position->first, args);
  ++position;
  return child;
}
