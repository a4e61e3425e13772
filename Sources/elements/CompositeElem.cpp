#include "CompositeElem.h"

#include <utility>

#include "ElementVisitor.h"
#include "Exceptions.h"
#include "ListElem.h"

const std::string CompositeElem::_type = "CompositeElem";

namespace {

// Reads the message of any of these exceptions: only ObjectStoreException has a getter.
struct Failure : Exception {
  explicit Failure(const Exception& failure) : Exception(failure) {}
  using Exception::message;
};

}  // namespace

CompositeElem::CompositeElem(Element* enclosing) : enclosure(enclosing) {}

Element* CompositeElem::setEnclosure(Element* newEnclosure) {
  return std::exchange(enclosure, newEnclosure);
}

Element* CompositeElem::getEnclosure() {
  return enclosure;
}

std::string CompositeElem::toString() {
  const std::string enclosureName = enclosure == nullptr ? "" : enclosure->getFullName();
  return Element::toString() + "  <" + enclosureName + ">";
}

Element* CompositeElem::getChildRaw(const std::string& childName) {
  try {
    return MapElem::getChildRaw(childName);
  } catch (const NoSuchElementException&) {
    if (enclosure == nullptr) throw;
  }
  try {
    return enclosure->getChildRaw(childName);
  } catch (const Exception& failure) {
    throw NoSuchElementException(Failure(failure).message);
  }
}

ElementIterator* CompositeElem::iterator(bool chain) {
  if (chain) return new ElementIteratorImpl(this);
  return MapElem::iterator(false);
}

Element* CompositeElem::addChild(const std::string& childName, Element* child) {
  return setterAccepts(childName, child) ? MapElem::addChild(childName, child) : nullptr;
}

Element* CompositeElem::setChild(std::string childName, Element* child) {
  return setterAccepts(childName, child) ? MapElem::setChild(std::move(childName), child) : nullptr;
}

// Also true without a setter, which is the case only if the look-up fails; an exception of the setter itself
// passes through.
bool CompositeElem::setterAccepts(const std::string& childName, Element* child) {
  Element* setter = nullptr;
  try {
    setter = getChildRaw("_set_" + childName);
  } catch (const NoSuchElementException&) {
    return true;
  }
  // Stays allocated by design: its destructor would delete the child.
  auto* const args = new ListElem;
  args->add(child);
  return setter->eval(this, args)->booleanValue();
}

// Stays allocated if adding a child fails: it may hold children of the original, which it would delete.
Element* CompositeElem::clone() {
  return clone(new CompositeElem(enclosure));
}

Element* CompositeElem::clone(Element* target) {
  return MapElem::clone(target);
}

void CompositeElem::accept(ElementVisitor* visitor) {
  visitor->visitorAtCompositeElem(this);
}

bool CompositeElem::instanceOf(std::string typeName) {
  return typeName == _type || MapElem::instanceOf(std::move(typeName));
}

CompositeElem::ElementIteratorImpl::ElementIteratorImpl(CompositeElem* owner)
    : current(std::make_unique<MapElem::ElementIteratorImpl>(owner)), enclosure(owner->getEnclosure()) {}

bool CompositeElem::ElementIteratorImpl::hasNext() {
  return current->hasNext() || nextIterator();
}

Element* CompositeElem::ElementIteratorImpl::next() {
  return current->next();
}

Element* CompositeElem::ElementIteratorImpl::next(ListElem* args) {
  return current->next(args);
}

std::string CompositeElem::ElementIteratorImpl::nextName() {
  return current->nextName();
}

unsigned int CompositeElem::ElementIteratorImpl::nextIndex() {
  return current->nextIndex();
}

// The last iterator is kept when no enclosure is left, so that every later step fails as in that container.
bool CompositeElem::ElementIteratorImpl::nextIterator() {
  if (enclosure == nullptr) return false;
  current.reset(enclosure->iterator());
  enclosure = nullptr;
  return current->hasNext();
}
