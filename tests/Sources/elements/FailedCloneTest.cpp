#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "FailedClone.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "OperationElem.h"

namespace {

const std::string alreadyAdded = "ObjectStoreException: Element already added";
constexpr unsigned char someBytes[] = {1, 2, 3};

// Containers that hold a binary element without a parent, as the message reader appends it, in front of one
// that has a parent and makes clone() throw.
class FailedClone : public testing::Test {
 protected:
  static BinaryElem* newBinary() { return new BinaryElem(someBytes, sizeof someBytes); }

  ListElem* newListOfShared() {
    auto* const list = new ListElem;
    list->add(shared);
    return list;
  }

  void expectSharedIsAsItWas(const std::string& name = "") {
    EXPECT_EQ(shared->getName(), name);
    EXPECT_EQ(shared->getParent(), nullptr);
    EXPECT_EQ(shared->binaryValue()[2], 3);
  }

  BinaryElem* shared = newBinary();
};

TEST_F(FailedClone, LeavesTheChildrenOfAListWhole) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  EXPECT_EQ(list->getChildRaw(0), shared);
  expectSharedIsAsItWas();
}

TEST_F(FailedClone, LeavesTheGrandchildrenOfAMapWhole) {
  MapElem map;
  map.addChild("a", newListOfShared());
  map.addChild("z", newBinary());
  EXPECT_EQ(failedClone(map), alreadyAdded);
  EXPECT_EQ(map.getChild("a")->getChildRaw(0), shared);
  expectSharedIsAsItWas();
}

TEST_F(FailedClone, LeavesTheGrandchildrenOfACompositeWhole) {
  CompositeElem composite(nullptr);
  composite.addChild("a", newListOfShared());
  composite.addChild("z", newBinary());
  EXPECT_EQ(failedClone(composite), alreadyAdded);
  EXPECT_EQ(composite.getChild("a")->getChildRaw(0), shared);
  expectSharedIsAsItWas();
}

TEST_F(FailedClone, GivesBackTheNameThatAMovedNeighbourGave) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(0, new IntegerElem(1));
  list->addChild(2, newBinary());
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  expectSharedIsAsItWas("1");
}

TEST_F(FailedClone, FailsInTheSamePlaceTheNextTime) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  for (int round = 0; round < 3; ++round) EXPECT_EQ(failedClone(*list), alreadyAdded);
  delete list->removeChild(1);
  const std::unique_ptr<Element> copy(list->clone());
  EXPECT_EQ(copy->removeChild(0U), shared);
}

TEST_F(FailedClone, LeavesWhatASetterAddedElsewhere) {
  static MapElem* elsewhere;
  MapElem other;
  elsewhere = &other;
  MapElem cls;
  cls.addChild("_set_m", new OperationElem([](Element*, ListElem* args) -> Element* {
                 static BooleanElem refused(false);
                 if (elsewhere->getNumChildren() == 0) elsewhere->addChild("m", args->getChildRaw(0));
                 return &refused;
               }));
  auto* const object = new CompositeElem(nullptr);
  object->addChild("m", shared);
  shared->removed(object);  // As if it had been appended.
  object->setEnclosure(&cls);
  MapElem map;
  map.addChild("a", object);
  map.addChild("z", newBinary());
  EXPECT_EQ(failedClone(map), alreadyAdded);
  EXPECT_EQ(shared->getParent(), &other);
  EXPECT_EQ(shared->getName(), "m");
  other.removeChild("m");
}

// The caller's own target is no partial copy: it keeps what it got, as after a clone that succeeded.
TEST_F(FailedClone, LeavesTheTargetOfTheCallerWhatItGot) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  ListElem target;
  EXPECT_EQ(thrown([&] { list->clone(&target); }), alreadyAdded);
  EXPECT_EQ(shared->getParent(), &target);
  EXPECT_EQ(target.removeChild(0U), shared);
}

TEST_F(FailedClone, IsNotThatOfAListOfAppendedChildrenWhichSharesThem) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  const std::unique_ptr<Element> copy(list->clone());
  EXPECT_EQ(copy->getChildRaw(0), shared);
  EXPECT_EQ(list->getChildRaw(0), shared);
  EXPECT_EQ(shared->getParent(), copy.get());
  EXPECT_EQ(copy->removeChild(0U), shared);  // Leaves one owner.
}

}  // namespace
