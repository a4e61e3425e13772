#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "BooleanElem.h"
#include "Children.h"
#include "CompositeElem.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "OperationElem.h"
#include "StringElem.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The arguments of the last setter call, and the results that setters return.
struct Setter {
  static inline int calls;
  static inline Element* context;
  static inline ListElem* args;

  static Element* accept(Element* seenContext, ListElem* seenArgs) {
    static BooleanElem answer(true);
    return record(seenContext, seenArgs, &answer);
  }
  static Element* refuse(Element* seenContext, ListElem* seenArgs) {
    static BooleanElem answer(false);
    return record(seenContext, seenArgs, &answer);
  }
  static Element* fail(Element* seenContext, ListElem* seenArgs) {
    record(seenContext, seenArgs, nullptr);
    throw NoSuchElementException("inside the setter");
  }

 private:
  static Element* record(Element* seenContext, ListElem* seenArgs, Element* answer) {
    ++calls;
    context = seenContext;
    args = seenArgs;
    return answer;
  }
};

// An object whose class holds the member "x" and whatever setters a test gives it.
class ObjectOfAClass : public testing::Test {
 protected:
  void SetUp() override {
    Setter::calls = 0;
    cls.addChild("x", inherited);
  }
  void giveClass(const std::string& name, OperationElem::Function function) {
    cls.addChild(name, new OperationElem(function));
  }

  MapElem cls;
  IntegerElem* inherited = new IntegerElem(1);
  CompositeElem object{&cls};
};

TEST(CompositeElem, KeepsItsEnclosureWithoutOwningIt) {
  MapElem first;
  MapElem second;
  CompositeElem composite(&first);
  EXPECT_EQ(composite.getEnclosure(), &first);
  EXPECT_EQ(composite.setEnclosure(&second), &first);
  EXPECT_EQ(composite.getEnclosure(), &second);
  EXPECT_EQ(composite.setEnclosure(nullptr), &second);
  EXPECT_EQ(composite.getEnclosure(), nullptr);
}

TEST_F(ObjectOfAClass, FindsInTheClassWhatItDoesNotHold) {
  EXPECT_EQ(object.getChildRaw("x"), inherited);
  EXPECT_TRUE(object.hasChild("x"));
  EXPECT_EQ(object.getNumChildren(), 0U);
  cls.addChild("5", new IntegerElem(2));
  EXPECT_EQ(object.getChildRaw(5)->intValue(), 2);
}

TEST_F(ObjectOfAClass, FindsItsOwnChildFirst) {
  auto* const own = new IntegerElem(2);
  object.addChild("x", own);
  EXPECT_EQ(object.getChildRaw("x"), own);
}

TEST_F(ObjectOfAClass, LooksUpTheWholeChain) {
  CompositeElem derived(&object);
  EXPECT_EQ(derived.getChildRaw("x"), inherited);
  object.addChild("y", new IntegerElem(3));
  EXPECT_EQ(derived.getChildRaw("y")->intValue(), 3);
}

TEST_F(ObjectOfAClass, EvaluatesAnInheritedMethodAgainstTheObject) {
  giveClass("method", &Setter::accept);
  ListElem args;
  EXPECT_TRUE(object.getChild("method", &args)->booleanValue());
  EXPECT_EQ(Setter::context, &object);
  EXPECT_EQ(Setter::args, &args);
}

TEST_F(ObjectOfAClass, SaysWhichNameIsMissingEverywhere) {
  EXPECT_EQ(thrown([&] { object.getChildRaw("q"); }), "NoSuchElementException: getChildRaw:qnot found");
  object.setEnclosure(nullptr);
  EXPECT_EQ(thrown([&] { object.getChildRaw("x"); }), "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_FALSE(object.hasChild("x"));
}

TEST(CompositeElem, TurnsAnyFailureOfTheEnclosureIntoNoSuchElement) {
  IntegerElem leaf(1);
  leaf.changeName("leaf");
  CompositeElem composite(&leaf);
  EXPECT_EQ(thrown([&] { composite.getChildRaw("x"); }),
            "NoSuchElementException: getChild(x) not supported on leaf");
  EXPECT_FALSE(composite.hasChild("x"));
}

TEST(CompositeElem, KeepsTheMessageOfAPlainExceptionOfTheEnclosure) {
  struct FailingElem : MapElem {
    using MapElem::getChildRaw;
    Element* getChildRaw(const std::string&) override { throw Exception("plain"); }
  };
  FailingElem failing;
  CompositeElem composite(&failing);
  EXPECT_EQ(thrown([&] { composite.getChildRaw("x"); }), "NoSuchElementException: plain");
}

TEST(CompositeElem, AddsLikeAMapWithoutASetter) {
  CompositeElem composite(nullptr);
  auto* const a = new IntegerElem(1);
  auto* const b = new IntegerElem(2);
  EXPECT_EQ(composite.addChild("x", a), nullptr);
  EXPECT_EQ(composite.addChild("x", b), a);
  EXPECT_EQ(b->getParent(), &composite);
  auto* const c = new IntegerElem(3);
  EXPECT_EQ(composite.setChild("x", c), b);
  EXPECT_EQ(composite.removeChild("x"), c);
  EXPECT_EQ(composite.getNumChildren(), 0U);
  for (Element* const child : {a, b, c}) delete child;
}

TEST(CompositeElem, DoesNotSetANameThatNobodyHolds) {
  CompositeElem composite(nullptr);
  IntegerElem child(1);
  EXPECT_EQ(thrown([&] { composite.setChild("x", &child); }),
            "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_EQ(child.getParent(), nullptr);
}

TEST_F(ObjectOfAClass, SetsAnInheritedNameAsAnOwnEntry) {
  auto* const own = new IntegerElem(2);
  EXPECT_EQ(object.setChild("x", own), inherited);
  EXPECT_EQ(object.getChildRaw("x"), own);
  EXPECT_EQ(object.getNumChildren(), 1U);
  // Still the class's.
  EXPECT_EQ(cls.getChildRaw("x"), inherited);
  EXPECT_EQ(inherited->getParent(), &cls);
  EXPECT_EQ(inherited->getName(), "x");
}

TEST_F(ObjectOfAClass, AsksTheSetterWithTheChildAsTheOnlyArgument) {
  giveClass("_set_x", &Setter::accept);
  auto* const child = new IntegerElem(2);
  EXPECT_EQ(object.setChild("x", child), inherited);
  EXPECT_EQ(Setter::calls, 1);
  EXPECT_EQ(Setter::context, &object);
  EXPECT_THAT(childrenOf(*Setter::args), ElementsAre(child));
  EXPECT_EQ(object.getChildRaw("x"), child);
  EXPECT_EQ(child->getParent(), &object);
}

TEST_F(ObjectOfAClass, AddsWhatTheSetterAccepts) {
  giveClass("_set_y", &Setter::accept);
  auto* const first = new IntegerElem(2);
  auto* const second = new IntegerElem(3);
  EXPECT_EQ(object.addChild("y", first), nullptr);
  EXPECT_EQ(object.addChild("y", second), first);
  EXPECT_EQ(Setter::calls, 2);
  EXPECT_THAT(namesOf(object, false), ElementsAre("y"));
  delete first;
}

TEST_F(ObjectOfAClass, StoresNothingThatTheSetterRefuses) {
  giveClass("_set_x", &Setter::refuse);
  IntegerElem child(2);
  EXPECT_EQ(object.setChild("x", &child), nullptr);
  EXPECT_EQ(object.addChild("x", &child), nullptr);
  EXPECT_EQ(Setter::calls, 2);
  EXPECT_EQ(object.getNumChildren(), 0U);
  EXPECT_EQ(child.getParent(), nullptr);
  EXPECT_EQ(child.getName(), "");
}

TEST_F(ObjectOfAClass, AsksTheSetterInTheIndexAndSwappedFormsToo) {
  giveClass("_set_3", &Setter::refuse);
  IntegerElem child(2);
  EXPECT_EQ(object.addChild(3, &child), nullptr);
  EXPECT_EQ(object.addChild(&child, 3), nullptr);
  EXPECT_EQ(object.setChild(3, &child), nullptr);
  EXPECT_EQ(object.setChild(&child, "3"), nullptr);
  EXPECT_EQ(Setter::calls, 4);
}

TEST_F(ObjectOfAClass, LetsAFailureInsideTheSetterOut) {
  giveClass("_set_x", &Setter::fail);
  IntegerElem child(2);
  EXPECT_EQ(thrown([&] { object.setChild("x", &child); }), "NoSuchElementException: inside the setter");
  EXPECT_EQ(thrown([&] { object.addChild("x", &child); }), "NoSuchElementException: inside the setter");
  EXPECT_EQ(object.getNumChildren(), 0U);
  EXPECT_EQ(child.getParent(), nullptr);
}

TEST_F(ObjectOfAClass, FailsWhenTheAnswerIsNoBoolean) {
  giveClass("_set_x", [](Element* context, ListElem*) { return context; });
  object.changeName("object");
  IntegerElem child(2);
  EXPECT_EQ(thrown([&] { object.setChild("x", &child); }),
            "NotSupportedException: booleanValue() not supported on object");
}

TEST_F(ObjectOfAClass, TakesAPlainValueForASetter) {
  cls.addChild("_set_y", new StringElem("yes"));
  auto* const child = new IntegerElem(2);
  EXPECT_EQ(object.addChild("y", child), nullptr);
  EXPECT_EQ(object.getChildRaw("y"), child);
}

TEST_F(ObjectOfAClass, RemovesOwnEntriesOnly) {
  EXPECT_EQ(thrown([&] { object.removeChild("x"); }), "NoSuchElementException: MapElem::removeChild");
  auto* const own = new IntegerElem(2);
  object.addChild("y", own);
  object.removeChildren();
  EXPECT_EQ(object.getNumChildren(), 0U);
  EXPECT_EQ(inherited->getParent(), &cls);
  EXPECT_EQ(own->getParent(), nullptr);
  delete own;
}

TEST(CompositeElem, NamesItsEnclosureInItsDescription) {
  MapElem root;
  root.changeName("sys");
  auto* const cls = new MapElem;
  root.addChild("class", cls);
  EXPECT_EQ(CompositeElem(nullptr).toString(), "  <>");
  EXPECT_EQ(CompositeElem(cls).toString(), "  <sys.class>");
  EXPECT_EQ(CompositeElem(&root).toString(), "  <sys>");
}

TEST_F(ObjectOfAClass, SharesTheEnclosureWithItsClone) {
  object.addChild("b", new IntegerElem(2));
  object.addChild("a", new StringElem("text"));
  MapElem holder;
  holder.addChild("held", &object);
  const std::unique_ptr<Element> copy(object.clone());
  holder.removeChild("held");
  ASSERT_TRUE(copy->instanceOf("CompositeElem"));
  EXPECT_EQ(dynamic_cast<CompositeElem&>(*copy).getEnclosure(), &cls);
  EXPECT_EQ(copy->getParent(), nullptr);
  EXPECT_THAT(namesOf(*copy, false), ElementsAre("a", "b"));
  EXPECT_NE(copy->getChildRaw("b"), object.getChildRaw("b"));
  EXPECT_EQ(copy->getChildRaw("b")->getParent(), copy.get());
}

TEST_F(ObjectOfAClass, ClonesThroughTheSettersOfItsClass) {
  object.addChild("y", new IntegerElem(2));
  giveClass("_set_y", &Setter::accept);
  const std::unique_ptr<Element> copy(object.clone());
  EXPECT_EQ(Setter::calls, 1);
  EXPECT_EQ(Setter::context, copy.get());
  EXPECT_TRUE(copy->hasChild("y"));
}

TEST_F(ObjectOfAClass, ClonesIntoAnyMap) {
  object.addChild("y", new IntegerElem(2));
  MapElem plain;
  EXPECT_EQ(object.clone(&plain), &plain);
  EXPECT_THAT(namesOf(plain), ElementsAre("y"));
  ListElem list;
  EXPECT_EQ(object.clone(&list), &list);
  EXPECT_EQ(list.getNumChildren(), 0U);
}

TEST_F(ObjectOfAClass, ExternalizesTheMostSpecificOfEachName) {
  CompositeElem derived(&object);
  object.addChild("y", new IntegerElem(2));
  object.addChild("x", new IntegerElem(20));
  derived.addChild("y", new IntegerElem(30));
  cls.addChild("_private", new OperationElem);
  const std::unique_ptr<Element> external(derived.externalize(nullptr));
  EXPECT_FALSE(external->instanceOf("CompositeElem"));
  EXPECT_THAT(namesOf(*external), ElementsAre("x", "y"));
  EXPECT_EQ(external->getChild("x")->intValue(), 20);
  EXPECT_EQ(external->getChild("y")->intValue(), 30);
}

TEST(CompositeElem, WalksItsOwnEntriesThenTheEnclosure) {
  MapElem cls;
  cls.addChild("c", new IntegerElem(3));
  CompositeElem object(&cls);
  object.addChild("b", new IntegerElem(2));
  object.addChild("a", new IntegerElem(1));
  EXPECT_THAT(namesOf(object, true), ElementsAre("a", "b", "c"));
  EXPECT_THAT(namesOf(object, false), ElementsAre("a", "b"));
  EXPECT_THAT(childrenOf(object),
              ElementsAre(object.getChildRaw("a"), object.getChildRaw("b"), cls.getChildRaw("c")));
}

TEST_F(ObjectOfAClass, YieldsANameOncePerLevel) {
  CompositeElem derived(&object);
  object.addChild("x", new IntegerElem(2));
  derived.addChild("x", new IntegerElem(3));
  EXPECT_THAT(namesOf(derived), ElementsAre("x", "x", "x"));
  EXPECT_THAT(namesOf(derived, false), ElementsAre("x"));
  // Its own child is looked up at each level.
  EXPECT_THAT(childrenOf(derived), ElementsAre(derived.getChildRaw("x"), object.getChildRaw("x"), inherited));
}

TEST_F(ObjectOfAClass, WalksAnyKindOfEnclosure) {
  ListElem list;
  list.add(1)->add(2);
  CompositeElem listed(&list);
  EXPECT_THAT(namesOf(listed), ElementsAre("0", "1"));
  CompositeElem empty(nullptr);
  EXPECT_THAT(namesOf(empty), IsEmpty());
  IntegerElem leaf(1);
  CompositeElem leafed(&leaf);
  EXPECT_EQ(thrown([&] { namesOf(leafed); }), "NotSupportedException: General Exception");
}

TEST_F(ObjectOfAClass, EvaluatesInAWalkAgainstTheLevelThatHoldsTheChild) {
  giveClass("method", &Setter::accept);
  ListElem args;
  const std::unique_ptr<ElementIterator> walk(object.iterator());
  ASSERT_TRUE(walk->hasNext());
  EXPECT_EQ(walk->nextName(), "method");
  walk->next(&args);
  EXPECT_EQ(Setter::context, &cls);
  EXPECT_EQ(Setter::args, &args);
}

TEST_F(ObjectOfAClass, EndsItsWalkForGood) {
  const std::unique_ptr<ElementIterator> walk(object.iterator());
  while (walk->hasNext()) walk->next();
  for (int round = 0; round < 3; ++round) {
    EXPECT_FALSE(walk->hasNext());
    EXPECT_EQ(thrown([&] { walk->next(); }), "NoSuchElementException: MapElem::ElementIteratorImpl.next");
    EXPECT_EQ(thrown([&] { walk->nextName(); }),
              "NoSuchElementException: MapElem::ElementIteratorImpl.nextName");
  }
}

TEST_F(ObjectOfAClass, MovesOnOnlyWhenAskedForMore) {
  object.addChild("y", new IntegerElem(2));
  const std::unique_ptr<ElementIterator> walk(object.iterator());
  walk->next();
  EXPECT_EQ(thrown([&] { walk->next(); }), "NoSuchElementException: MapElem::ElementIteratorImpl.next");
  EXPECT_TRUE(walk->hasNext());
  EXPECT_EQ(walk->next(), inherited);
}

}  // namespace
