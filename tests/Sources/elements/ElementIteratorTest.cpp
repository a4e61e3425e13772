#include <gtest/gtest.h>

#include <memory>

#include "CompositeElem.h"
#include "ElementIterator.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"

// What hosts do: plain deletion through the interface. The compiler cannot see that it is well defined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"
static void deletePlainly(ElementIterator* iterator) {
  delete iterator;
}
#pragma GCC diagnostic pop

namespace {

// A sanitized run reports a wrong size, a wrong deallocation or a leak in any of these.
class DeletedIterator : public testing::Test {
 protected:
  void SetUp() override {
    list.add(1)->add(2);
    base.addChild("b", new IntegerElem(1));
    middle.addChild("m", new IntegerElem(2));
    top.addChild("t", new IntegerElem(3));
  }

  ListElem list;
  MapElem base;
  CompositeElem middle{&base};
  CompositeElem top{&middle};
};

TEST_F(DeletedIterator, OfAListOrAMapIsReleasedAtAnyPoint) {
  for (Element* const container : {static_cast<Element*>(&list), static_cast<Element*>(&base)}) {
    deletePlainly(container->iterator());
    ElementIterator* const walk = container->iterator();
    while (walk->hasNext()) walk->next();
    deletePlainly(walk);
  }
}

TEST_F(DeletedIterator, OfAChainReleasesWhatItOwnsAtAnyPoint) {
  for (int steps = 0; steps <= 4; ++steps) {
    ElementIterator* const walk = top.iterator();
    for (int step = 0; step < steps && walk->hasNext(); ++step) walk->next();
    deletePlainly(walk);
  }
}

TEST_F(DeletedIterator, IsReleasedAsItsConcreteClassAndBySmartPointersToo) {
  const std::unique_ptr<ElementIterator> held(top.iterator());
  EXPECT_TRUE(held->hasNext());
  delete new ListElem::ListIterator(&list);
  delete new MapElem::ElementIteratorImpl(&base);
  auto* const chained = new CompositeElem::ElementIteratorImpl(&top);
  for (int step = 0; step < 3 && chained->hasNext(); ++step) chained->next();
  delete chained;
}

TEST_F(DeletedIterator, MayAlsoLiveOnTheStack) {
  CompositeElem::ElementIteratorImpl walk(&top);
  int steps = 0;
  for (; walk.hasNext(); walk.next()) ++steps;
  EXPECT_EQ(steps, 3);
}

TEST_F(DeletedIterator, MayBeNull) {
  deletePlainly(nullptr);
}

TEST_F(DeletedIterator, LeavesTheContainersAlone) {
  ElementIterator* const walk = top.iterator();
  while (walk->hasNext()) walk->next();
  deletePlainly(walk);
  EXPECT_EQ(top.getNumChildren() + middle.getNumChildren() + base.getNumChildren(), 3U);
  EXPECT_EQ(top.getEnclosure(), &middle);
}

}  // namespace
