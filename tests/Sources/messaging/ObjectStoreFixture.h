#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CompositeElem.h"
#include "ElementIterator.h"
#include "Exceptions.h"
#include "ListElem.h"
#include "MapElem.h"
#include "ObjectStore.h"
#include "OperationElem.h"

// What the operations of a test were called with, in order, and what they return, in order, then null.
struct Method {
  using Call = std::pair<Element*, ListElem*>;
  static inline std::vector<Call> calls;
  static inline std::deque<Element*> answers;

  static Element* run(Element* context, ListElem* args) {
    calls.emplace_back(context, args);
    if (answers.empty()) return nullptr;
    Element* const answer = answers.front();
    answers.pop_front();
    return answer;
  }
  static Element* fail(Element* context, ListElem* args) {
    run(context, args);
    throw NotSupportedException("inside the method");
  }
};

// Sets `gone`, which outlives it, when it is deleted.
struct Witness : MapElem {
  const std::shared_ptr<bool> gone = std::make_shared<bool>(false);

  Witness() = default;
  ~Witness() override { *gone = true; }
};

// The store as it starts, before and after each test: objects and classes that a test has put in are deleted.
class ObjectStoreTest : public testing::Test {
 protected:
  ObjectStoreTest() {
    Method::calls.clear();
    Method::answers.clear();
  }
  ~ObjectStoreTest() override {
    empty(*ObjectStore._globals);
    empty(*ObjectStore._class);
  }

  template <typename Child>
  static Child* add(Element* container, const std::string& name, Child* child) {
    container->addChild(name, child);
    return child;
  }
  static MapElem* addMap(Element* container, const std::string& name) {
    return add(container, name, new MapElem);
  }
  static CompositeElem* addObject(const std::string& name, Element* cls) {
    return add(ObjectStore._globals, name, new CompositeElem(cls));
  }
  static CompositeElem* addClass(const std::string& name, Element* superclass = nullptr) {
    return add(ObjectStore._class, name, new CompositeElem(superclass));
  }
  static OperationElem* addMethod(Element* container, const std::string& name,
                                  OperationElem::Function function = &Method::run) {
    return add(container, name, new OperationElem(function));
  }

  MapElem* const globals = ObjectStore._globals;

 private:
  static void empty(MapElem& map) {
    while (map.getNumChildren() > 0) {
      const std::unique_ptr<ElementIterator> first(map.iterator(false));
      delete map.removeChild(first->nextName());
    }
  }
};
