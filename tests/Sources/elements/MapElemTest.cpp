#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "Children.h"
#include "FailedClone.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "OperationElem.h"
#include "StringElem.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* alreadyAdded = "ObjectStoreException: Element already added";

// A map that holds x under "k".
class OneEntry : public testing::Test {
 protected:
  void SetUp() override { map.addChild("k", x); }

  MapElem map;
  Element* x = new IntegerElem(1);
};

TEST(MapElem, IsEmptyAtFirst) {
  MapElem map;
  EXPECT_EQ(map.getNumChildren(), 0U);
  EXPECT_THAT(childrenOf(map), IsEmpty());
  EXPECT_EQ(map.toString(), "");
}

TEST_F(OneEntry, NamesAndAdoptsWhatItTakesIn) {
  EXPECT_EQ(map.getNumChildren(), 1U);
  EXPECT_EQ(map.getChildRaw("k"), x);
  EXPECT_EQ(x->getName(), "k");
  EXPECT_EQ(x->getParent(), &map);
}

TEST_F(OneEntry, ReturnsNullWhenTheNameWasFree) {
  EXPECT_EQ(map.addChild("other", new IntegerElem(2)), nullptr);
  EXPECT_EQ(map.addChild(new IntegerElem(3), "third"), nullptr);
  EXPECT_EQ(map.getNumChildren(), 3U);
}

TEST_F(OneEntry, ReturnsThePreviousOccupantWithoutDetachingIt) {
  auto* const y = new IntegerElem(2);
  EXPECT_EQ(map.addChild("k", y), x);
  const std::unique_ptr<Element> previous(x);
  EXPECT_EQ(map.getChildRaw("k"), y);
  EXPECT_EQ(map.getNumChildren(), 1U);
  EXPECT_EQ(x->getName(), "k");
  EXPECT_EQ(x->getParent(), &map);
}

TEST_F(OneEntry, ChangesNothingWhenTheChildIsHeldAlready) {
  MapElem other;
  auto* const held = new IntegerElem(2);
  other.addChild("x", held);
  EXPECT_EQ(thrown([&] { map.addChild("new", held); }), alreadyAdded);
  EXPECT_EQ(thrown([&] { map.addChild("k", held); }), alreadyAdded);
  EXPECT_EQ(thrown([&] { map.addChild("new", x); }), alreadyAdded);
  EXPECT_THAT(namesOf(map), ElementsAre("k"));
  EXPECT_EQ(map.getChildRaw("k"), x);
  EXPECT_EQ(held->getFullName(), ".x");
}

TEST_F(OneEntry, ReplacesAndDetaches) {
  auto* const y = new IntegerElem(2);
  EXPECT_EQ(map.setChild("k", y), x);
  const std::unique_ptr<Element> replaced(x);
  EXPECT_EQ(x->getName(), "");
  EXPECT_EQ(x->getParent(), nullptr);
  EXPECT_EQ(y->getName(), "k");
  EXPECT_EQ(y->getParent(), &map);
  EXPECT_EQ(map.getChildRaw("k"), y);
}

TEST_F(OneEntry, ReplacesAChildByItself) {
  EXPECT_EQ(map.setChild("k", x), x);
  EXPECT_EQ(x->getName(), "k");
  EXPECT_EQ(x->getParent(), &map);
}

TEST_F(OneEntry, DoesNotReplaceUnderANameThatItDoesNotHold) {
  IntegerElem y(2);
  EXPECT_EQ(thrown([&] { map.setChild("q", &y); }), "NoSuchElementException: getChildRaw:qnot found");
  EXPECT_EQ(thrown([&] { map.setChild(3, &y); }), "NoSuchElementException: getChildRaw:3not found");
  EXPECT_EQ(y.getParent(), nullptr);
  EXPECT_THAT(namesOf(map), ElementsAre("k"));
}

TEST_F(OneEntry, HoldsAReplacementThatIsHeldElsewhereToo) {
  MapElem other;
  auto* const held = new IntegerElem(2);
  other.addChild("x", held);
  EXPECT_EQ(thrown([&] { map.setChild("k", held); }), alreadyAdded);
  EXPECT_EQ(map.getChildRaw("k"), held);
  EXPECT_EQ(x->getParent(), nullptr);
  EXPECT_EQ(held->getParent(), &other);
  other.removeChild("x");  // Leaves one owner.
  delete x;
}

TEST_F(OneEntry, RemovesAndDetaches) {
  EXPECT_EQ(map.removeChild("k"), x);
  const std::unique_ptr<Element> removed(x);
  EXPECT_EQ(x->getName(), "");
  EXPECT_EQ(x->getParent(), nullptr);
  EXPECT_EQ(map.getNumChildren(), 0U);
}

TEST_F(OneEntry, SaysWhichNameIsMissing) {
  EXPECT_EQ(thrown([&] { map.getChildRaw("x"); }), "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_EQ(thrown([&] { map.getChild("x"); }), "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_EQ(thrown([&] { map.getChildRaw(5); }), "NoSuchElementException: getChildRaw:5not found");
  EXPECT_EQ(thrown([&] { map.removeChild("x"); }), "NoSuchElementException: MapElem::removeChild");
  EXPECT_EQ(thrown([&] { map.removeChild(5); }), "NoSuchElementException: MapElem::removeChild");
  EXPECT_THAT(namesOf(map), ElementsAre("k"));
}

TEST(MapElem, WritesAnIndexAsAName) {
  MapElem map;
  auto* const a = new IntegerElem(1);
  auto* const b = new IntegerElem(2);
  EXPECT_EQ(map.addChild(12, a), nullptr);
  EXPECT_EQ(a->getName(), "12");
  EXPECT_EQ(map.getChildRaw("12"), a);
  EXPECT_EQ(map.getChildRaw(12), a);
  EXPECT_EQ(map.setChild(12, b), a);
  EXPECT_EQ(map.removeChild(12), b);
  map.addChild("-1", a);
  EXPECT_EQ(map.getChildRaw(4294967295U), a);  // Written as a signed number.
  delete b;
}

TEST_F(OneEntry, DetachesAllChildrenWithoutDeletingThem) {
  auto* const y = new IntegerElem(2);
  map.addChild("y", y);
  map.removeChildren();
  EXPECT_EQ(map.getNumChildren(), 0U);
  for (Element* const child : {x, static_cast<Element*>(y)}) {
    EXPECT_EQ(child->getName(), "");
    EXPECT_EQ(child->getParent(), nullptr);
    delete child;
  }
}

TEST(MapElem, DeletesWhatItStillHoldsInOrderOfNames) {
  struct OrderedElem : IntegerElem {
    explicit OrderedElem(std::string& log) : IntegerElem(0), order(log) {}
    // Still held while it is deleted: nothing detaches it first.
    ~OrderedElem() override { order += getName(); }
    std::string& order;
  };
  std::string order;
  {
    MapElem map;
    for (const char* name : {"b", "a", "B"}) map.addChild(name, new OrderedElem(order));
    delete map.removeChild("a");
    EXPECT_EQ(order, "");  // Detached, it has no name.
  }
  EXPECT_EQ(order, "Bb");
}

TEST(MapElem, KeepsItsNamesInByteWiseOrder) {
  MapElem map;
  for (const char* name : {"b", "a", "B", "\xE4", "", "_", "10", "9"}) map.addChild(name, new IntegerElem(1));
  EXPECT_THAT(namesOf(map), ElementsAre("", "10", "9", "B", "_", "a", "b", "\xE4"));
  EXPECT_THAT(namesOf(map, false), ElementsAre("", "10", "9", "B", "_", "a", "b", "\xE4"));
}

TEST(MapElem, DescribesItsChildren) {
  MapElem map;
  const auto described = [&] { return *std::unique_ptr<std::string>(map.childrenToString()); };
  EXPECT_EQ(described(), "<Map>");
  map.addChild("b", new StringElem("x"));
  map.addChild("a", new IntegerElem(1));
  EXPECT_EQ(described(), "<Map(a : 1)(b : x)>");
}

TEST_F(OneEntry, ClonesItsChildrenByName) {
  auto* const inner = new MapElem;
  inner->addChild("deep", new StringElem("text"));
  map.addChild("_inner", inner);
  MapElem holder;
  holder.addChild("held", &map);
  const std::unique_ptr<Element> copy(map.clone());
  holder.removeChild("held");
  EXPECT_EQ(copy->getName(), "");
  EXPECT_EQ(copy->getParent(), nullptr);
  EXPECT_THAT(namesOf(*copy), ElementsAre("_inner", "k"));
  EXPECT_NE(copy->getChildRaw("k"), x);
  EXPECT_EQ(copy->getChild("k")->intValue(), 1);
  EXPECT_EQ(copy->getChildRaw("k")->getParent(), copy.get());
  EXPECT_EQ(copy->getChild("_inner")->getChild("deep")->getFullName(), "._inner.deep");
}

TEST_F(OneEntry, OnlyDetachesATargetThatIsNoMap) {
  MapElem holder;
  auto* const target = new ListElem;
  holder.addChild("x", target);
  EXPECT_EQ(map.clone(target), target);
  EXPECT_EQ(target->getParent(), nullptr);
  EXPECT_EQ(target->getNumChildren(), 0U);
  holder.removeChildren();
  delete target;
}

// Children that clone to themselves have a parent already.
TEST(MapElem, CannotCloneAChildWithoutACloneOfItsOwn) {
  IntegerElem target(1);
  Element* const children[] = {new BinaryElem(nullptr, 0), new AliasElem(&target), new OperationElem,
                               new LazyEvalElem};
  for (Element* const child : children) {
    MapElem map;
    map.addChild("a", new IntegerElem(1));
    map.addChild("b", child);
    EXPECT_EQ(failedClone(map), alreadyAdded);
    EXPECT_EQ(map.getChildRaw("b"), child);
  }
}

TEST(MapElem, ExternalizesAllButPrivateNames) {
  MapElem map;
  map.addChild("_hidden", new OperationElem);  // Would refuse.
  map.addChild("_", new IntegerElem(1));
  map.addChild("x", new IntegerElem(2));
  map.addChild("a_b", new IntegerElem(3));
  map.addChild("", new IntegerElem(4));
  const std::unique_ptr<Element> external(map.externalize(nullptr));
  EXPECT_TRUE(external->instanceOf("MapElem"));
  EXPECT_THAT(namesOf(*external), ElementsAre("", "a_b", "x"));
  EXPECT_EQ(external->getChild("x")->intValue(), 2);
  EXPECT_NE(external->getChildRaw("x"), map.getChildRaw("x"));
}

TEST(MapElem, ExternalizesItsChildrenInItsOwnContext) {
  static Element* seen;
  struct ContextElem : IntegerElem {
    using IntegerElem::IntegerElem;
    Element* externalize(Element* context) override {
      seen = context;
      return IntegerElem::externalize(context);
    }
  };
  MapElem map;
  MapElem other;
  map.addChild("x", new ContextElem(1));
  const std::unique_ptr<Element> external(map.externalize(&other));
  EXPECT_EQ(seen, &map);
}

TEST(MapElem, LeavesNothingBehindWhenAChildCannotBeExternalized) {
  MapElem map;
  map.addChild("a", new IntegerElem(1));
  map.addChild("b", new OperationElem);
  EXPECT_EQ(thrown([&] { map.externalize(nullptr); }), "NotSupportedException: externalize not supported!");
  EXPECT_EQ(map.getNumChildren(), 2U);
}

TEST_F(OneEntry, WalksItsEntries) {
  auto* const y = new IntegerElem(2);
  map.addChild("7", y);
  const std::unique_ptr<ElementIterator> walk(map.iterator(true));
  EXPECT_TRUE(walk->hasNext());
  EXPECT_EQ(walk->nextName(), "7");
  EXPECT_EQ(walk->nextIndex(), 7U);
  EXPECT_EQ(walk->next(), y);
  EXPECT_EQ(walk->nextName(), "k");
  EXPECT_EQ(thrown([&] { walk->nextIndex(); }), "ValueConversionException: Illegal conversion");
  EXPECT_EQ(walk->next(), x);
  EXPECT_FALSE(walk->hasNext());
}

TEST_F(OneEntry, SaysWhichStepWentPastTheEnd) {
  const std::unique_ptr<ElementIterator> walk(map.iterator(true));
  walk->next();
  for (int round = 0; round < 2; ++round) {
    EXPECT_FALSE(walk->hasNext());
    EXPECT_EQ(thrown([&] { walk->next(); }), "NoSuchElementException: MapElem::ElementIteratorImpl.next");
    EXPECT_EQ(thrown([&] { walk->next(nullptr); }),
              "NoSuchElementException: MapElem::ElementIteratorImpl.next");
    EXPECT_EQ(thrown([&] { walk->nextName(); }),
              "NoSuchElementException: MapElem::ElementIteratorImpl.nextName");
    EXPECT_EQ(thrown([&] { walk->nextIndex(); }),
              "NoSuchElementException: MapElem::ElementIteratorImpl.nextName");
  }
}

TEST(MapElem, LooksUpByNameInEveryWalk) {
  struct WatchedElem : MapElem {
    using MapElem::getChildRaw;
    Element* getChildRaw(const std::string& childName) override {
      asked += childName + ";";
      return MapElem::getChildRaw(childName);
    }
    std::string asked;
  };
  WatchedElem map;
  map.addChild("a", new IntegerElem(1));
  map.addChild("b", new IntegerElem(2));
  const std::unique_ptr<ElementIterator> walk(map.iterator());
  walk->next();
  walk->next(nullptr);
  EXPECT_EQ(map.asked, "a;b;");
}

TEST(MapElem, EvaluatesInAWalkWithArguments) {
  static Element* seenContext;
  static ListElem* seenArgs;
  static IntegerElem result(7);
  MapElem map;
  ListElem args;
  map.addChild("f", new OperationElem([](Element* context, ListElem* given) -> Element* {
                 seenContext = context;
                 seenArgs = given;
                 return &result;
               }));
  const std::unique_ptr<ElementIterator> walk(map.iterator());
  EXPECT_EQ(walk->next(&args), &result);
  EXPECT_EQ(seenContext, &map);
  EXPECT_EQ(seenArgs, &args);
  EXPECT_FALSE(walk->hasNext());
}

}  // namespace
