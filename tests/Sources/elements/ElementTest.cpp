#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "Element.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "OperationElem.h"
#include "StringElem.h"
#include "Thrown.h"

namespace {

// An element with the base's behaviour and nothing more; its children operations record the form
// that was called.
class PlainElem : public Element {
 public:
  using Element::addChild;
  using Element::iterator;
  using Element::setChild;

  Element* getChildRaw(const std::string& childName) override { return record("getChildRaw " + childName); }
  Element* getChildRaw(unsigned int index) override { return record("getChildRaw " + std::to_string(index)); }
  ElementIterator* iterator(bool chain) override {
    record(chain ? "iterator true" : "iterator false");
    return nullptr;
  }
  Element* addChild(const std::string& childName, Element*) override {
    return record("addChild " + childName);
  }
  Element* addChild(unsigned int index, Element*) override {
    return record("addChild " + std::to_string(index));
  }
  Element* setChild(std::string childName, Element*) override { return record("setChild " + childName); }
  Element* setChild(unsigned int index, Element*) override {
    return record("setChild " + std::to_string(index));
  }
  Element* removeChild(const std::string& childName) override { return record("removeChild " + childName); }
  Element* removeChild(unsigned int index) override { return record("removeChild " + std::to_string(index)); }
  void removeChildren() override {}
  unsigned int getNumChildren() override { return 0; }
  std::string stringValue() override { return ""; }
  int intValue() override { return 0; }
  bool booleanValue() override { return false; }
  Element* externalize(Element*) override { return this; }

  std::string called;

 private:
  Element* record(const std::string& call) {
    called = call;
    return this;
  }
};

// Gives itself back for every name, and records how it was evaluated.
struct EvaluatedElem : PlainElem {
  Element* eval(Element* context, ListElem* args) override {
    seenContext = context;
    seenArgs = args;
    return &result;
  }
  Element* seenContext = nullptr;
  ListElem* seenArgs = nullptr;
  IntegerElem result{7};
};

TEST(Element, IsDetachedWhenItIsMade) {
  PlainElem element;
  EXPECT_EQ(element.getName(), "");
  EXPECT_EQ(element.getParent(), nullptr);
  EXPECT_EQ(element.getFullName(), "");
  EXPECT_EQ(element.toString(), "");
}

TEST(Element, HasNoObjectAndNoBinaryValueOfItsOwn) {
  PlainElem element;
  EXPECT_EQ(thrown([&] { element.objectValue(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { element.binaryValue(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { element.binaryLength(); }), "NotSupportedException: General Exception");
}

TEST(Element, EvaluatesAndClonesToItself) {
  PlainElem element;
  PlainElem context;
  EXPECT_EQ(element.eval(&context, nullptr), &element);
  EXPECT_EQ(element.clone(), &element);
}

TEST(Element, TakesNameAndParentWhenItIsAdded) {
  PlainElem element;
  PlainElem parent;
  element.added("x", &parent);
  EXPECT_EQ(element.getName(), "x");
  EXPECT_EQ(element.getParent(), &parent);
}

TEST(Element, IsNotAddedTwice) {
  PlainElem element;
  PlainElem parent;
  PlainElem other;
  element.added("x", &parent);
  EXPECT_EQ(thrown([&] { element.added("y", &other); }), "ObjectStoreException: Element already added");
  EXPECT_EQ(thrown([&] { element.added("y", &parent); }), "ObjectStoreException: Element already added");
  EXPECT_EQ(element.getName(), "x");
  EXPECT_EQ(element.getParent(), &parent);
}

TEST(Element, IsDetachedOnlyByItsParent) {
  PlainElem element;
  PlainElem parent;
  PlainElem other;
  element.added("x", &parent);
  element.removed(&other);
  element.removed(nullptr);
  EXPECT_EQ(element.getName(), "x");
  EXPECT_EQ(element.getParent(), &parent);
  element.removed(&parent);
  EXPECT_EQ(element.getName(), "");
  EXPECT_EQ(element.getParent(), nullptr);
  EXPECT_EQ(thrown([&] { element.added("y", &other); }), "nothing");
}

TEST(Element, LosesTheNameOfADetachedElementToANullParent) {
  PlainElem element;
  PlainElem other;
  element.changeName("renamed");
  element.removed(&other);
  EXPECT_EQ(element.getName(), "renamed");
  element.removed(nullptr);
  EXPECT_EQ(element.getName(), "");
}

TEST(Element, ChangesItsNameAlone) {
  MapElem map;
  auto* const child = new IntegerElem(1);
  map.addChild("x", child);
  child->changeName("y");
  EXPECT_EQ(child->getName(), "y");
  EXPECT_EQ(child->getParent(), &map);
  EXPECT_EQ(map.getChildRaw("x"), child);
  EXPECT_FALSE(map.hasChild("y"));
}

TEST(Element, DetachesTheTargetOfAClone) {
  PlainElem element;
  PlainElem target;
  PlainElem parent;
  target.added("x", &parent);
  EXPECT_EQ(element.clone(&target), &target);
  EXPECT_EQ(target.getName(), "");
  EXPECT_EQ(target.getParent(), nullptr);
}

TEST(Element, ClonesToItselfWhereAClassHasNoCloneOfItsOwn) {
  IntegerElem target(1);
  AliasElem alias(&target);
  OperationElem operation;
  LazyEvalElem lazy;
  EXPECT_EQ(alias.clone(), &alias);
  EXPECT_EQ(operation.clone(), &operation);
  EXPECT_EQ(lazy.clone(), &lazy);
}

TEST(Element, EvaluatesAChildInItsOwnContextWithoutArguments) {
  MapElem map;
  auto* const child = new EvaluatedElem;
  map.addChild("3", child);
  EXPECT_EQ(map.getChild("3"), &child->result);
  EXPECT_EQ(child->seenContext, &map);
  EXPECT_EQ(child->seenArgs, nullptr);
  child->seenContext = nullptr;
  EXPECT_EQ(map.getChild(3U), &child->result);
  EXPECT_EQ(child->seenContext, &map);
}

TEST(Element, PassesTheArgumentsOnToTheChild) {
  MapElem map;
  ListElem args;
  auto* const child = new EvaluatedElem;
  map.addChild("3", child);
  EXPECT_EQ(map.getChild("3", &args), &child->result);
  EXPECT_EQ(child->seenArgs, &args);
  child->seenArgs = nullptr;
  EXPECT_EQ(map.getChild(3U, &args), &child->result);
  EXPECT_EQ(child->seenContext, &map);
  EXPECT_EQ(child->seenArgs, &args);
}

TEST(Element, AsksForTheChainedIteratorUnlessToldOtherwise) {
  PlainElem element;
  element.iterator();
  EXPECT_EQ(element.called, "iterator true");
}

TEST(Element, SwapsTheArgumentsOfAddChildAndSetChild) {
  PlainElem element;
  PlainElem child;
  Element* result = element.addChild(&child, "x");
  EXPECT_EQ(result, &element);
  EXPECT_EQ(element.called, "addChild x");
  result = element.addChild(&child, 4U);
  EXPECT_EQ(result, &element);
  EXPECT_EQ(element.called, "addChild 4");
  result = element.setChild(&child, "x");
  EXPECT_EQ(result, &element);
  EXPECT_EQ(element.called, "setChild x");
  result = element.setChild(&child, 4U);
  EXPECT_EQ(result, &element);
  EXPECT_EQ(element.called, "setChild 4");
}

TEST(Element, KnowsWhetherItHasAChild) {
  MapElem map;
  map.addChild("1", new IntegerElem(1));
  EXPECT_TRUE(map.hasChild("1"));
  EXPECT_TRUE(map.hasChild(1U));
  EXPECT_FALSE(map.hasChild("2"));
  EXPECT_FALSE(map.hasChild(2U));
}

TEST(Element, LetsOtherFailuresOutOfHasChild) {
  IntegerElem leaf(1);
  EXPECT_EQ(thrown([&] { leaf.hasChild("x"); }), "NotSupportedException: getChild(x) not supported on ");
  EXPECT_EQ(thrown([&] { leaf.hasChild(2U); }), "NotSupportedException: getChild(2int) not supported on ");
}

TEST(Element, DoesNotEvaluateInHasChild) {
  MapElem map;
  map.addChild("x", new OperationElem);  // Would throw when evaluated.
  EXPECT_TRUE(map.hasChild("x"));
}

TEST(Element, JoinsTheNamesOfAllAncestors) {
  MapElem root;
  auto* const x = new MapElem;
  auto* const y = new IntegerElem(1);
  root.addChild("x", x);
  x->addChild("y", y);
  EXPECT_EQ(y->getFullName(), ".x.y");
  root.changeName("root");
  EXPECT_EQ(root.getFullName(), "root");
  EXPECT_EQ(x->getFullName(), "root.x");
  EXPECT_EQ(y->getFullName(), "root.x.y");
}

TEST(Element, AsksTheVirtualNamesForTheFullName) {
  struct NamedElem : MapElem {
    std::string getName() override { return "virtual"; }
  };
  NamedElem root;
  auto* const child = new IntegerElem(1);
  root.addChild("x", child);
  EXPECT_EQ(child->getFullName(), "virtual.x");
}

TEST(Element, IsNotCopyable) {
  EXPECT_FALSE(std::is_copy_constructible_v<IntegerElem>);
  EXPECT_FALSE(std::is_copy_constructible_v<MapElem>);
  EXPECT_FALSE(std::is_copy_constructible_v<ListElem>);
  EXPECT_FALSE(std::is_copy_constructible_v<CompositeElem>);
  EXPECT_FALSE(std::is_copy_constructible_v<BinaryElem>);
  EXPECT_FALSE(std::is_copy_assignable_v<IntegerElem>);
  EXPECT_FALSE(std::is_copy_assignable_v<MapElem>);
}

TEST(Element, DiesWithATreeOfAThousandLevels) {
  auto top = std::make_unique<MapElem>();
  MapElem* level = top.get();
  for (int depth = 1; depth < 1000; ++depth) {
    auto* const deeper = new MapElem;
    level->addChild("x", deeper);
    level = deeper;
  }
  auto* const leaf = new IntegerElem(1);
  level->addChild("x", leaf);
  EXPECT_EQ(leaf->getFullName().size(), 2000U);
  const std::unique_ptr<Element> copy(top->clone());
  const std::unique_ptr<Element> external(top->externalize(nullptr));
  top.reset();
}

}  // namespace
