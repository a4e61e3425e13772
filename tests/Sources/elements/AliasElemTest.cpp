#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "Children.h"
#include "CompositeElem.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "OperationElem.h"
#include "StringElem.h"
#include "Thrown.h"

using testing::ElementsAre;

namespace {

// Records the operation that reaches it, with its arguments as far as they are text.
class TargetElem : public MapElem {
 public:
  using MapElem::addChild;
  using MapElem::iterator;
  using MapElem::setChild;

  Element* eval(Element* context, ListElem* args) override {
    seenContext = context;
    seenArgs = args;
    return record("eval");
  }
  Element* getChildRaw(const std::string& childName) override { return record("getChildRaw " + childName); }
  Element* getChildRaw(unsigned int index) override {
    return record("getChildRaw #" + std::to_string(index));
  }
  ElementIterator* iterator(bool chain) override {
    record(chain ? "iterator true" : "iterator false");
    return nullptr;
  }
  Element* addChild(const std::string& childName, Element*) override {
    return record("addChild " + childName);
  }
  Element* addChild(unsigned int index, Element*) override {
    return record("addChild #" + std::to_string(index));
  }
  Element* setChild(std::string childName, Element*) override { return record("setChild " + childName); }
  Element* setChild(unsigned int index, Element*) override {
    return record("setChild #" + std::to_string(index));
  }
  Element* removeChild(const std::string& childName) override { return record("removeChild " + childName); }
  Element* removeChild(unsigned int index) override {
    return record("removeChild #" + std::to_string(index));
  }
  void removeChildren() override { record("removeChildren"); }
  unsigned int getNumChildren() override {
    record("getNumChildren");
    return 9;
  }
  std::string stringValue() override {
    record("stringValue");
    return "text";
  }
  int intValue() override {
    record("intValue");
    return 8;
  }
  bool booleanValue() override {
    record("booleanValue");
    return true;
  }
  void* objectValue() override {
    record("objectValue");
    return this;
  }
  unsigned char* binaryValue() override {
    record("binaryValue");
    return nullptr;
  }
  unsigned int binaryLength() override {
    record("binaryLength");
    return 0;
  }
  Element* externalize(Element* context) override {
    seenContext = context;
    return record("externalize");
  }
  std::string getName() override { return "name"; }
  Element* clone() override { return record("clone"); }
  void accept(ElementVisitor*) override { record("accept"); }
  bool instanceOf(std::string typeName) override { return typeName == "Target"; }

  std::string called;
  Element* seenContext = nullptr;
  ListElem* seenArgs = nullptr;

 private:
  Element* record(const std::string& call) {
    called = call;
    return this;
  }
};

class Alias : public testing::Test {
 protected:
  TargetElem target;
  AliasElem alias{&target};
  Element& element = alias;
  IntegerElem child{1};
};

TEST_F(Alias, ForwardsTheOperationsThatReturnAnElement) {
  ListElem args;
  const struct {
    std::function<Element*()> operation;
    std::string reached;
  } rows[] = {
      {[&] { return element.eval(&child, &args); }, "eval"},
      {[&] { return element.getChildRaw("x"); }, "getChildRaw x"},
      {[&] { return element.getChildRaw(3); }, "getChildRaw #3"},
      {[&] { return element.addChild("x", &child); }, "addChild x"},
      {[&] { return element.addChild(3, &child); }, "addChild #3"},
      {[&] { return element.addChild(&child, "x"); }, "addChild x"},
      {[&] { return element.setChild("x", &child); }, "setChild x"},
      {[&] { return element.setChild(3, &child); }, "setChild #3"},
      {[&] { return element.removeChild("x"); }, "removeChild x"},
      {[&] { return element.removeChild(3); }, "removeChild #3"},
      {[&] { return element.externalize(&child); }, "externalize"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.operation(), &target) << row.reached;
    EXPECT_EQ(target.called, row.reached);
  }
  EXPECT_EQ(target.seenContext, &child);
  EXPECT_EQ(target.seenArgs, &args);
}

TEST_F(Alias, ForwardsTheValues) {
  EXPECT_EQ(element.stringValue(), "text");
  EXPECT_EQ(element.intValue(), 8);
  EXPECT_TRUE(element.booleanValue());
  EXPECT_EQ(element.objectValue(), &target);
  EXPECT_EQ(element.getNumChildren(), 9U);
  element.removeChildren();
  EXPECT_EQ(target.called, "removeChildren");
  EXPECT_TRUE(element.instanceOf("Target"));
  EXPECT_FALSE(element.instanceOf("AliasElem"));
  EXPECT_FALSE(element.instanceOf("Element"));
}

TEST_F(Alias, AlwaysAsksForTheChainedIterator) {
  element.iterator(false);
  EXPECT_EQ(target.called, "iterator true");
  target.called.clear();
  element.iterator(true);
  EXPECT_EQ(target.called, "iterator true");
}

TEST_F(Alias, KeepsBinaryValuesCloneAndAcceptToItself) {
  EXPECT_EQ(thrown([&] { element.binaryValue(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { element.binaryLength(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(element.clone(), &alias);
  element.accept(nullptr);
  EXPECT_EQ(target.called, "");
  MapElem holder;
  auto* const held = new IntegerElem(1);
  holder.addChild("x", held);
  EXPECT_EQ(element.clone(held), held);
  EXPECT_EQ(held->getParent(), nullptr);
  holder.removeChildren();
  delete held;
}

TEST(AliasElem, IsAttachedItselfAndNotItsTarget) {
  MapElem root;
  MapElem other;
  IntegerElem target(1);
  auto* const alias = new AliasElem(&target);
  root.addChild("a", alias);
  EXPECT_EQ(target.getParent(), nullptr);
  EXPECT_EQ(thrown([&] { other.addChild("b", alias); }), "ObjectStoreException: Element already added");
  EXPECT_EQ(root.removeChild("a"), alias);
  EXPECT_EQ(thrown([&] { other.addChild("b", alias); }), "nothing");
}

TEST(AliasElem, HasTheFullNameOfItsTarget) {
  MapElem root;
  root.changeName("root");
  auto* const target = new MapElem;
  auto* const alias = new AliasElem(target);
  root.addChild("x", target);
  root.addChild("a", alias);
  EXPECT_EQ(alias->getName(), "x");
  EXPECT_EQ(alias->getParent(), &root);
  EXPECT_EQ(alias->getFullName(), "root.x");
  EXPECT_EQ(alias->toString(), ": root.x");
  EXPECT_EQ(root.getChildRaw("a"), alias);
}

TEST(AliasElem, EvaluatesToItsTarget) {
  MapElem root;
  auto* const target = new IntegerElem(7);
  root.addChild("x", target);
  root.addChild("a", new AliasElem(target));
  EXPECT_EQ(root.getChild("a"), target);
}

TEST(AliasElem, IsTheContextOfTheChildrenReachedThroughIt) {
  static Element* seen;
  MapElem map;
  map.addChild("f", new OperationElem([](Element* context, ListElem*) {
                 seen = context;
                 return context;
               }));
  AliasElem alias(&map);
  alias.getChild("f");
  EXPECT_EQ(seen, &alias);
}

TEST(AliasElem, WalksTheChainOfAComposite) {
  MapElem cls;
  cls.addChild("c", new IntegerElem(1));
  CompositeElem object(&cls);
  object.addChild("o", new IntegerElem(2));
  AliasElem alias(&object);
  EXPECT_THAT(namesOf(alias, false), ElementsAre("o", "c"));
}

TEST(AliasElem, PassesTheFailuresOfItsTargetOn) {
  MapElem map;
  map.changeName("m");
  AliasElem alias(&map);
  EXPECT_EQ(thrown([&] { alias.getChildRaw("x"); }), "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_EQ(thrown([&] { alias.intValue(); }), "NotSupportedException: intValue() not supported on m");
  EXPECT_FALSE(alias.hasChild("x"));
}

TEST(AliasElem, DoesNotOwnItsTarget) {
  const auto target = std::make_unique<IntegerElem>(7);
  std::make_unique<AliasElem>(target.get()).reset();
  EXPECT_EQ(target->intValue(), 7);
}

}  // namespace
