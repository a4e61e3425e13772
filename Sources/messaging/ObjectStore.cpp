#include "ObjectStore.h"

#include <cstdio>
#include <memory>
#include <new>
#include <set>
#include <utility>

#include "AliasElem.h"
#include "CompositeElem.h"
#include "ElementIterator.h"
#include "Exceptions.h"

namespace {

constexpr const char* classLocation = "sys.class";
constexpr const char* globalsLocation = "globals";
constexpr int defaultDepth = 25;

}  // namespace

// Constant-initialised: an initialiser that runs here after the first operation, called for a static object
// of an earlier unit, would undo what that operation has initialised. Not every compiler initialises strings
// that way; at worst the initialisation repeats the texts of the constructor.
constinit MapElem* ObjectStore::_root = nullptr;
constinit MapElem* ObjectStore::_sys = nullptr;
constinit MapElem* ObjectStore::_class = nullptr;
constinit MapElem* ObjectStore::_globals = nullptr;
constinit MapElem* ObjectStore::_rules = nullptr;
std::string ObjectStore::_classLocation = classLocation;
std::string ObjectStore::_globalsLocation = globalsLocation;

class ObjectStore ObjectStore;

ObjectStore::ObjectStore() {
  if (_root != nullptr) return;
  _root = new MapElem;
  _sys = new MapElem;
  _class = new MapElem;
  _globals = new MapElem;
  _rules = new MapElem;
  // In place: before this unit has been initialised, the strings may not be objects yet.
  new (&_classLocation) std::string(classLocation);
  new (&_globalsLocation) std::string(globalsLocation);

  _root->changeName("root");
  _root->addChild("root", new AliasElem(_root));
  _root->addChild("globals", _globals);
  _root->addChild("sys", _sys);
  _sys->addChild("class", _class);
}

ObjectStore::SetUp::SetUp() {
  if (_root == nullptr) new (&::ObjectStore) class ObjectStore;
}

namespace {

// One of the maps. Every operation obtains them through this function, because it may be called for a static
// object of a unit that does not include the header and is initialised before all units that do.
MapElem* ready(MapElem*& map) {
  const ObjectStore::SetUp first;
  return map;
}

// A method without a result returns null, and a path may continue after it.
Element* rawChild(Element* container, const std::string& name) {
  if (container == nullptr) throw NoSuchElementException("getChildRaw:" + name + "not found");
  return container->getChildRaw(name);
}

// The last element of a path and its container.
struct Place {
  Element* container;
  Element* element;
};

Place walk(Element* base, const std::string& path) {
  Element* container = base;
  std::string::size_type begin = 0;
  while (true) {
    const std::string::size_type end = path.find('.', begin);
    Element* const element = rawChild(container, path.substr(begin, end - begin));
    if (end == std::string::npos) return {container, element};
    container = element->eval(container, nullptr);
    begin = end + 1;
  }
}

// Null for a null element, for one that has no enclosure, and for one that cannot have one.
Element* enclosureOf(Element* element) {
  auto* const composite = dynamic_cast<CompositeElem*>(element);
  return composite == nullptr ? nullptr : composite->getEnclosure();
}

// From the class that holds the method, not from that of the object: otherwise a method inherited over two
// levels would find itself again.
Element* superMethod(Element* currentMethod, const std::string& method) {
  try {
    return rawChild(enclosureOf(currentMethod->getParent()), method);
  } catch (const Exception&) {
    throw NoSuchElementException("No inherited method " + method + " for " + currentMethod->getFullName());
  }
}

CompositeElem* classNamed(const std::string& className) {
  MapElem* const classes = ready(ObjectStore::_class);
  return classes->hasChild(className) ? dynamic_cast<CompositeElem*>(classes->getChildRaw(className))
                                      : nullptr;
}

}  // namespace

Element* ObjectStore::getRoot() {
  return ready(_root);
}

Element* ObjectStore::getElement(Element* base, const std::string& path) {
  return walk(base, path).element;
}

Element* ObjectStore::getElement(const std::string& path) {
  return getElement(getRoot(), path);
}

Element* ObjectStore::evalElement(Element* base, const std::string& path, ListElem* args) {
  const Place last = walk(base, path);
  return last.element->eval(last.container, args);
}

Element* ObjectStore::getObject(const std::string& path) {
  return evalElement(ready(_globals), path, nullptr);
}

Element* ObjectStore::callRule(const std::string& ruleName, ListElem* args) {
  return evalElement(ready(_globals), ruleName, args);
}

Element* ObjectStore::callMethod(Element* object, const std::string& method, ListElem* args) {
  return rawChild(object, method)->eval(object, args);
}

Element* ObjectStore::callMethod(const std::string& objectPath, const std::string& method, ListElem* args) {
  return callMethod(getObject(objectPath), method, args);
}

Element* ObjectStore::callMethod(const std::string& path, ListElem* args) {
  return evalElement(ready(_globals), path, args);
}

Element* ObjectStore::callSuperMethod(Element* currentMethod, Element* object, const std::string& method,
                                      ListElem* args) {
  return superMethod(currentMethod, method)->eval(object, args);
}

Element* ObjectStore::callSuperMethod(Element* currentMethod, Element* object, ListElem* args) {
  return callSuperMethod(currentMethod, object, currentMethod->getName(), args);
}

Element* ObjectStore::instantiate(Element* cls, ListElem* args) {
  auto object = std::make_unique<CompositeElem>(cls);
  try {
    callMethod(object.get(), "instantiate", args);
  } catch (...) {
    // The method has put it into a container, which owns it now.
    if (object->getParent() != nullptr) static_cast<void>(object.release());
    throw;
  }
  return object.release();
}

Element* ObjectStore::instantiate(const std::string& className, ListElem* args) {
  return instantiate(ready(_class)->getChildRaw(className), args);
}

bool ObjectStore::instanceOf(Element* object, Element* cls) {
  std::set<Element*> seen;  // ends the walk of a circular chain
  for (Element* met = object; met != nullptr && seen.insert(met).second; met = enclosureOf(met)) {
    if (met == cls) return true;
  }
  return false;
}

bool ObjectStore::instanceOf(Element* object, const std::string& className) {
  return instanceOf(object, ready(_class)->getChildRaw(className));
}

void ObjectStore::changeClass(Element* object, std::string className) {
  auto* const composite = dynamic_cast<CompositeElem*>(object);
  CompositeElem* const cls = classNamed(className);
  // In a class that encloses itself, the look-up of a missing member would never end.
  const bool canMove = composite != nullptr && cls != nullptr && instanceOf(cls, composite->getEnclosure()) &&
                       !instanceOf(cls, composite);
  if (!canMove) throw ClassCastException("Cannot change class to " + className);
  composite->setEnclosure(cls);
}

Element* ObjectStore::getAttribute(Element* object, const std::string& name) {
  return callMethod(object, name, nullptr);
}

Element* ObjectStore::getAttribute(const std::string& name) {
  return getAttribute(ready(_globals), name);
}

Element* ObjectStore::getAttribute(const std::string& objectPath, const std::string& name) {
  return getAttribute(getObject(objectPath), name);
}

void ObjectStore::setAttribute(Element* object, const std::string& name, Element* value) {
  if (object == nullptr) throw NoSuchElementException("No object to hold the attribute " + name);
  Element* const previous = object->addChild(name, value);
  // The value itself is returned if it is under the name already without having the object as its parent.
  if (previous != value) delete previous;
}

void ObjectStore::setAttribute(const std::string& name, Element* value) {
  setAttribute(ready(_globals), name, value);
}

void ObjectStore::setAttribute(const std::string& objectPath, const std::string& name, Element* value) {
  setAttribute(getObject(objectPath), name, value);
}

Element* ObjectStore::createElement(Element* base, const std::string& path) {
  // getChild() at each name evaluates the child in its container without arguments, which is this walk.
  return evalElement(base, path, nullptr);
}

std::string ObjectStore::getName(Element* element) {
  std::string name = element->getName();
  for (Element* parent = element->getParent(); parent != ready(_globals); parent = parent->getParent()) {
    if (parent == nullptr) throw NotSupportedException("Element is not an object: " + name);
    name.insert(0, parent->getName() + ".");
  }
  return name;
}

void ObjectStore::print(std::string prefix) {
  print(std::move(prefix), "root", getRoot(), defaultDepth);
}

void ObjectStore::print(std::string prefix, std::string name, Element* element) {
  print(std::move(prefix), std::move(name), element, defaultDepth);
}

void ObjectStore::print(std::string prefix, std::string name, Element* element, int depth) {
  std::printf("%s %s : %s\r\n", prefix.c_str(), name.c_str(), element->toString().c_str());
  if (depth < 1 || dynamic_cast<AliasElem*>(element) != nullptr) return;
  // A leaf throws: its exception ends the dump.
  const std::unique_ptr<ElementIterator> children(element->iterator(false));
  while (children->hasNext()) {
    const std::string childName = children->nextName();
    print(prefix + "   ", childName, children->next(), depth - 1);
  }
}
