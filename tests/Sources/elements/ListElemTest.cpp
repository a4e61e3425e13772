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

// Counts its deletions.
struct CountedElem : IntegerElem {
  explicit CountedElem(int& counter) : IntegerElem(0), deletions(counter) {}
  ~CountedElem() override { ++deletions; }
  int& deletions;
};

// A list of three children that were added by position.
class ThreeChildren : public testing::Test {
 protected:
  void SetUp() override {
    list.addChild(0, a);
    list.addChild(1, b);
    list.addChild(2, c);
  }

  ListElem list;
  Element* a = new IntegerElem(10);
  Element* b = new IntegerElem(11);
  Element* c = new IntegerElem(12);
};

TEST(ListElem, IsEmptyAtFirst) {
  ListElem list;
  EXPECT_EQ(list.getNumChildren(), 0U);
  EXPECT_THAT(childrenOf(list), IsEmpty());
  EXPECT_EQ(list.toString(), "");
}

TEST(ListElem, InsertsInFrontAndRenamesWhatMovesUp) {
  ListElem list;
  auto* const a = new IntegerElem(1);
  auto* const b = new IntegerElem(2);
  EXPECT_EQ(list.addChild(0, a), nullptr);
  EXPECT_EQ(list.addChild(0, b), nullptr);
  EXPECT_THAT(childrenOf(list), ElementsAre(b, a));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1"));
  EXPECT_EQ(a->getParent(), &list);
  EXPECT_EQ(b->getParent(), &list);
}

TEST_F(ThreeChildren, InsertsInTheMiddleAndAtTheEnd) {
  auto* const middle = new IntegerElem(1);
  auto* const last = new IntegerElem(2);
  list.addChild(1, middle);
  list.addChild(4, last);
  EXPECT_THAT(childrenOf(list), ElementsAre(a, middle, b, c, last));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1", "2", "3", "4"));
}

TEST_F(ThreeChildren, RefusesAPositionPastTheEnd) {
  IntegerElem x(1);
  const std::string refusal = "IndexOutOfBoundsException: Index out of bounds on AddChild";
  EXPECT_EQ(thrown([&] { list.addChild(4, &x); }), refusal);
  EXPECT_EQ(thrown([&] { list.addChild(4294967295U, &x); }), refusal);
  EXPECT_EQ(thrown([&] { list.addChild("-1", &x); }), refusal);
  EXPECT_EQ(x.getParent(), nullptr);
  EXPECT_THAT(childrenOf(list), ElementsAre(a, b, c));
}

TEST_F(ThreeChildren, ChangesNothingWhenTheChildIsHeldElsewhere) {
  MapElem map;
  auto* const held = new IntegerElem(1);
  map.addChild("x", held);
  EXPECT_EQ(thrown([&] { list.addChild(1, held); }), "ObjectStoreException: Element already added");
  EXPECT_EQ(thrown([&] { list.addChild(1, a); }), "ObjectStoreException: Element already added");
  EXPECT_THAT(childrenOf(list), ElementsAre(a, b, c));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1", "2"));
  EXPECT_EQ(held->getParent(), &map);
}

TEST_F(ThreeChildren, ReplacesAChildAndDetachesIt) {
  auto* const x = new IntegerElem(1);
  EXPECT_EQ(list.setChild(1, x), b);
  const std::unique_ptr<Element> replaced(b);
  EXPECT_EQ(b->getName(), "");
  EXPECT_EQ(b->getParent(), nullptr);
  EXPECT_EQ(x->getName(), "1");
  EXPECT_EQ(x->getParent(), &list);
  EXPECT_THAT(childrenOf(list), ElementsAre(a, x, c));
}

TEST_F(ThreeChildren, DoesNotReplacePastTheEnd) {
  IntegerElem x(1);
  EXPECT_EQ(thrown([&] { list.setChild(3, &x); }), "NoSuchElementException: 3");
  EXPECT_EQ(thrown([&] { list.setChild(4294967295U, &x); }), "NoSuchElementException: 4294967295");
  EXPECT_EQ(x.getParent(), nullptr);
  EXPECT_THAT(childrenOf(list), ElementsAre(a, b, c));
}

TEST_F(ThreeChildren, HoldsAReplacementThatIsHeldElsewhereToo) {
  MapElem map;
  auto* const held = new IntegerElem(1);
  map.addChild("x", held);
  EXPECT_EQ(thrown([&] { list.setChild(1, held); }), "ObjectStoreException: Element already added");
  EXPECT_THAT(childrenOf(list), ElementsAre(a, held, c));
  EXPECT_EQ(b->getParent(), nullptr);
  EXPECT_EQ(held->getParent(), &map);
  map.removeChild("x");  // Leaves one owner.
  delete b;
}

TEST_F(ThreeChildren, RemovesAChildAndRenamesWhatMovesDown) {
  EXPECT_EQ(list.removeChild(0U), a);
  const std::unique_ptr<Element> removed(a);
  EXPECT_EQ(a->getName(), "");
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_THAT(childrenOf(list), ElementsAre(b, c));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1"));
}

TEST_F(ThreeChildren, RemovesTheLastChild) {
  EXPECT_EQ(list.removeChild(2), c);
  delete c;
  EXPECT_THAT(childrenOf(list), ElementsAre(a, b));
}

TEST_F(ThreeChildren, SaysWhichPositionIsMissing) {
  EXPECT_EQ(thrown([&] { list.removeChild(3); }), "NoSuchElementException: 3");
  EXPECT_EQ(thrown([&] { list.removeChild(4294967295U); }), "NoSuchElementException: 4294967295");
  EXPECT_EQ(thrown([&] { list.getChildRaw(5); }), "NoSuchElementException: 5");
  EXPECT_EQ(thrown([&] { list.getChildRaw(4294967295U); }), "NoSuchElementException: 4294967295");
  EXPECT_EQ(thrown([&] { list.getChild(3); }), "NoSuchElementException: 3");
  EXPECT_FALSE(list.hasChild(3));
  EXPECT_THAT(childrenOf(list), ElementsAre(a, b, c));
}

TEST_F(ThreeChildren, ReadsANameAsADecimalNumber) {
  EXPECT_EQ(list.getChildRaw("2"), c);
  EXPECT_EQ(list.getChildRaw(" +1x"), b);
  EXPECT_EQ(list.getChildRaw("01"), b);
  EXPECT_EQ(list.getChildRaw("0x2"), a);
  EXPECT_EQ(list.getChildRaw("abc"), a);
  EXPECT_EQ(list.getChildRaw(""), a);
  EXPECT_EQ(thrown([&] { list.getChildRaw("-1"); }), "NoSuchElementException: 4294967295");
  EXPECT_EQ(thrown([&] { list.getChildRaw("99999999999"); }), "NoSuchElementException: 2147483647");
}

TEST_F(ThreeChildren, ChangesByNameWhatItChangesByPosition) {
  auto* const x = new IntegerElem(1);
  auto* const y = new IntegerElem(2);
  EXPECT_EQ(list.addChild("1", x), nullptr);
  EXPECT_EQ(list.setChild("2", y), b);
  EXPECT_EQ(list.removeChild("abc"), a);
  EXPECT_THAT(childrenOf(list), ElementsAre(x, y, c));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1", "2"));
  delete a;
  delete b;
}

TEST_F(ThreeChildren, DetachesAllChildrenWithoutDeletingThem) {
  list.removeChildren();
  EXPECT_EQ(list.getNumChildren(), 0U);
  for (Element* const child : {a, b, c}) {
    EXPECT_EQ(child->getName(), "");
    EXPECT_EQ(child->getParent(), nullptr);
    delete child;
  }
}

TEST(ListElem, DeletesWhatItStillHoldsInOrder) {
  struct OrderedElem : IntegerElem {
    OrderedElem(std::string& log, int number) : IntegerElem(number), order(log) {}
    ~OrderedElem() override { order += intValue() == 0 ? "0" : "1"; }
    std::string& order;
  };
  std::string order;
  {
    ListElem list;
    list.add(new OrderedElem(order, 0))->add(new OrderedElem(order, 1))->add(static_cast<Element*>(nullptr));
  }
  EXPECT_EQ(order, "01");
}

TEST(ListElem, DoesNotDeleteWhatItHandedBack) {
  int deletions = 0;
  {
    ListElem list;
    list.addChild(0, new CountedElem(deletions));
    list.addChild(1, new CountedElem(deletions));
    const std::unique_ptr<Element> removed(list.removeChild(0U));
    EXPECT_EQ(deletions, 0);
  }
  EXPECT_EQ(deletions, 2);
}

TEST(ListElem, AppendsWithoutNamingOrAdoptingTheElement) {
  ListElem list;
  auto* const element = new IntegerElem(5);
  EXPECT_EQ(list.add(element), &list);
  EXPECT_EQ(list.getChildRaw(0), element);
  EXPECT_EQ(element->getName(), "");
  EXPECT_EQ(element->getParent(), nullptr);
  EXPECT_EQ(element->getFullName(), "");
}

TEST(ListElem, AppendsValuesOfEveryKind) {
  ListElem list;
  char characters[] = "chars";
  const char* const constant = "constant";
  EXPECT_EQ(
      list.add(5)->add("literal")->add(std::string("string"))->add(characters)->add(constant)->add(true),
      &list);
  EXPECT_EQ(list.getChild(0)->intValue(), 5);
  EXPECT_EQ(list.getChild(1)->stringValue(), "literal");
  EXPECT_EQ(list.getChild(2)->stringValue(), "string");
  EXPECT_EQ(list.getChild(3)->stringValue(), "chars");
  EXPECT_EQ(list.getChild(4)->stringValue(), "constant");
  EXPECT_EQ(list.getChild(5)->stringValue(), "true");
  EXPECT_TRUE(list.getChild(0)->instanceOf("IntegerElem"));
  EXPECT_TRUE(list.getChild(1)->instanceOf("StringElem"));
  EXPECT_EQ(dynamic_cast<StringElem&>(*list.getChild(1)).encodingValue(), "");
  EXPECT_TRUE(list.getChild(5)->instanceOf("BooleanElem"));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("", "", "", "", "", ""));
}

TEST(ListElem, RenamesAnAppendedElementWhenANeighbourMoves) {
  ListElem list;
  list.add(1)->add(2);
  Element* const second = list.getChildRaw(1);
  list.addChild(0, new IntegerElem(0));
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1", "2"));
  EXPECT_EQ(second->getParent(), nullptr);
  delete list.removeChild(0U);
  EXPECT_THAT(ownNamesOf(list), ElementsAre("0", "1"));
  EXPECT_EQ(second->getParent(), nullptr);
}

TEST(ListElem, RemovesAnAppendedElementWithoutTouchingItsName) {
  ListElem list;
  list.add(1);
  Element* const element = list.getChildRaw(0);
  element->changeName("kept");
  EXPECT_EQ(list.removeChild(0U), element);
  EXPECT_EQ(element->getName(), "kept");
  delete element;
}

TEST(ListElem, DescribesItsChildren) {
  ListElem list;
  const auto described = [&] { return *std::unique_ptr<std::string>(list.childrenToString()); };
  EXPECT_EQ(described(), "<List>");
  list.add(1)->add(2);
  EXPECT_EQ(described(), "<List : 1 : 2>");
  list.add(new ListElem);
  EXPECT_EQ(described(), "<List : 1 : 2 >");
}

TEST_F(ThreeChildren, ClonesItsChildrenByPosition) {
  auto* const inner = new ListElem;
  inner->add("deep");
  list.addChild(3, inner);
  MapElem holder;
  holder.addChild("held", &list);
  const std::unique_ptr<Element> copy(list.clone());
  holder.removeChild("held");
  EXPECT_EQ(copy->getName(), "");
  EXPECT_EQ(copy->getParent(), nullptr);
  EXPECT_THAT(ownNamesOf(*copy), ElementsAre("0", "1", "2", "3"));
  EXPECT_EQ(copy->getChild(1)->intValue(), 11);
  EXPECT_NE(copy->getChildRaw(1), b);
  EXPECT_EQ(copy->getChildRaw(1)->getParent(), copy.get());
  EXPECT_NE(copy->getChildRaw(3), inner);
  EXPECT_EQ(copy->getChild(3)->getChild(0)->stringValue(), "deep");
}

TEST_F(ThreeChildren, ClonesInFrontOfWhatTheTargetHolds) {
  ListElem target;
  auto* const own = new IntegerElem(99);
  target.addChild(0, own);
  EXPECT_EQ(list.clone(&target), &target);
  EXPECT_EQ(target.getNumChildren(), 4U);
  EXPECT_EQ(target.getChildRaw(0)->intValue(), 10);
  EXPECT_EQ(target.getChildRaw(3), own);
  EXPECT_EQ(own->getName(), "3");
}

TEST_F(ThreeChildren, OnlyDetachesATargetThatIsNoList) {
  MapElem holder;
  auto* const target = new MapElem;
  holder.addChild("x", target);
  EXPECT_EQ(list.clone(target), nullptr);
  EXPECT_EQ(target->getParent(), nullptr);
  EXPECT_EQ(target->getNumChildren(), 0U);
  holder.removeChildren();
  delete target;
}

// Children that clone to themselves have a parent already.
TEST(ListElem, CannotCloneAChildWithoutACloneOfItsOwn) {
  IntegerElem target(1);
  Element* const children[] = {new BinaryElem(nullptr, 0), new AliasElem(&target), new OperationElem,
                               new LazyEvalElem};
  for (Element* const child : children) {
    ListElem list;
    list.addChild(0, new IntegerElem(1));
    list.addChild(1, child);
    EXPECT_EQ(failedClone(list), "ObjectStoreException: Element already added");
    EXPECT_THAT(childrenOf(list), ElementsAre(list.getChildRaw(0), child));
  }
}

TEST(ListElem, ExternalizesItsChildrenInItsOwnContext) {
  struct ContextElem : IntegerElem {
    using IntegerElem::IntegerElem;
    Element* externalize(Element* context) override {
      seen = context;
      return IntegerElem::externalize(context);
    }
    Element* seen = nullptr;
  };
  ListElem list;
  MapElem other;
  const unsigned char bytes[] = {7};
  auto* const child = new ContextElem(5);
  list.add(child)->add(new BinaryElem(bytes, 1));
  const std::unique_ptr<Element> external(list.externalize(&other));
  EXPECT_EQ(child->seen, &list);
  EXPECT_TRUE(external->instanceOf("ListElem"));
  EXPECT_THAT(ownNamesOf(*external), ElementsAre("0", "1"));
  EXPECT_EQ(external->getChild(0)->intValue(), 5);
  EXPECT_EQ(*external->getChild(1)->binaryValue(), 7);
  EXPECT_EQ(external->getChildRaw(1)->getParent(), external.get());
  EXPECT_EQ(external->getParent(), nullptr);
}

TEST(ListElem, LeavesNothingBehindWhenAChildCannotBeExternalized) {
  ListElem list;
  list.add(1)->add(new OperationElem);
  EXPECT_EQ(thrown([&] { list.externalize(nullptr); }), "NotSupportedException: externalize not supported!");
  EXPECT_EQ(list.getNumChildren(), 2U);
}

TEST_F(ThreeChildren, WalksByPosition) {
  const std::unique_ptr<ElementIterator> walk(list.iterator(false));
  EXPECT_TRUE(walk->hasNext());
  EXPECT_EQ(walk->nextIndex(), 0U);
  EXPECT_EQ(walk->nextName(), "0");
  EXPECT_EQ(walk->next(), a);
  EXPECT_EQ(walk->nextIndex(), 1U);
  EXPECT_EQ(walk->nextName(), "1");
  EXPECT_EQ(walk->next(), b);
  EXPECT_EQ(walk->next(), c);
  EXPECT_FALSE(walk->hasNext());
}

TEST_F(ThreeChildren, SaysOutOfRangePastTheEnd) {
  const std::unique_ptr<ElementIterator> walk(list.iterator());
  while (walk->hasNext()) walk->next();
  for (int round = 0; round < 2; ++round) {
    EXPECT_FALSE(walk->hasNext());
    EXPECT_EQ(thrown([&] { walk->next(); }), "NoSuchElementException: OutofRange");
    EXPECT_EQ(thrown([&] { walk->next(nullptr); }), "NoSuchElementException: OutofRange");
    EXPECT_EQ(thrown([&] { walk->nextName(); }), "NoSuchElementException: OutofRange");
    EXPECT_EQ(thrown([&] { walk->nextIndex(); }), "NoSuchElementException: OutofRange");
  }
}

TEST(ListElem, EvaluatesInAWalkWithArguments) {
  static Element* seenContext;
  static ListElem* seenArgs;
  static IntegerElem result(7);
  ListElem list;
  ListElem args;
  list.add(new OperationElem([](Element* context, ListElem* given) -> Element* {
    seenContext = context;
    seenArgs = given;
    return &result;
  }));
  list.add(2);
  const std::unique_ptr<ElementIterator> walk(list.iterator());
  EXPECT_EQ(walk->next(&args), &result);
  EXPECT_EQ(seenContext, &list);
  EXPECT_EQ(seenArgs, &args);
  EXPECT_EQ(walk->nextIndex(), 1U);
}

TEST(ListElem, DoesNotAdvanceWhenTheEvaluationFails) {
  ListElem list;
  list.add(new OperationElem);
  const std::unique_ptr<ElementIterator> walk(list.iterator());
  EXPECT_EQ(thrown([&] { walk->next(nullptr); }), "ObjectStoreException: Null function Pointer");
  EXPECT_EQ(walk->nextIndex(), 0U);
}

}  // namespace
