#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "BinaryElem.h"
#include "CompositeElem.h"
#include "FailedClone.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"

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

  // The partial copy has become the parent of what had none. It is not the container that was cloned.
  void expectSharedIsWhole(const Element* notItsParent) {
    EXPECT_NE(shared->getParent(), nullptr);
    EXPECT_NE(shared->getParent(), notItsParent);
    EXPECT_EQ(shared->getName(), "0");
    EXPECT_EQ(shared->binaryValue()[2], 3);
  }

  BinaryElem* shared = newBinary();
};

TEST_F(FailedClone, LeavesTheChildrenOfAListWhole) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  EXPECT_EQ(list->getChildRaw(0), shared);
  expectSharedIsWhole(list.get());
}

TEST_F(FailedClone, LeavesTheGrandchildrenOfAMapWhole) {
  MapElem map;
  map.addChild("a", newListOfShared());
  map.addChild("z", newBinary());
  EXPECT_EQ(failedClone(map), alreadyAdded);
  EXPECT_EQ(map.getChild("a")->getChildRaw(0), shared);
  expectSharedIsWhole(map.getChild("a"));
}

TEST_F(FailedClone, LeavesTheGrandchildrenOfACompositeWhole) {
  CompositeElem composite(nullptr);
  composite.addChild("a", newListOfShared());
  composite.addChild("z", newBinary());
  EXPECT_EQ(failedClone(composite), alreadyAdded);
  EXPECT_EQ(composite.getChild("a")->getChildRaw(0), shared);
  expectSharedIsWhole(composite.getChild("a"));
}

TEST_F(FailedClone, LeavesTheOriginalToBeChanged) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  list->addChild(0, new IntegerElem(1));
  EXPECT_EQ(list->getNumChildren(), 3U);
  EXPECT_EQ(shared->getName(), "1");  // moved up by its neighbour
  EXPECT_EQ(list->removeChild(1), shared);
  delete shared;
}

// By then every binary child has a parent, the first one that of the partial copy.
TEST_F(FailedClone, FailsAtTheSharedChildTheNextTime) {
  const std::unique_ptr<ListElem> list(newListOfShared());
  list->addChild(1, newBinary());
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  delete list->removeChild(1);
  EXPECT_EQ(failedClone(*list), alreadyAdded);
  EXPECT_EQ(list->getChildRaw(0), shared);
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
