#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "IntegerElem.h"
#include "MapElem.h"
#include "OperationElem.h"
#include "TerminalElem.h"
#include "Thrown.h"

namespace {

class Leaf : public testing::Test {
 protected:
  void SetUp() override {
    root.changeName("m");
    root.addChild("n", leaf);
    child.changeName("kid");
  }

  MapElem root;
  IntegerElem* leaf = new IntegerElem(1);
  MapElem child;
};

TEST_F(Leaf, RefusesEveryChildOperationByName) {
  const struct {
    std::function<void()> operation;
    std::string refusal;
  } rows[] = {
      {[&] { leaf->getChildRaw("x"); }, "getChild(x)"},
      {[&] { leaf->getChild("x"); }, "getChild(x)"},
      {[&] { leaf->getChildRaw(7U); }, "getChild(7int)"},
      {[&] { leaf->getChild(7U); }, "getChild(7int)"},
      {[&] { leaf->getChildRaw(4294967295U); }, "getChild(-1int)"},
      {[&] { leaf->addChild("x", &child); }, "addChild(kid,x)"},
      {[&] { leaf->addChild(&child, "x"); }, "addChild(kid,x)"},
      {[&] { leaf->addChild(3U, &child); }, "addChild(kid,3)"},
      {[&] { leaf->addChild(&child, 3U); }, "addChild(kid,3)"},
      {[&] { leaf->setChild("x", &child); }, "setChild(kid,x)"},
      {[&] { leaf->setChild(&child, "x"); }, "setChild(kid,x)"},
      {[&] { leaf->setChild(3U, &child); }, "setChild(kid,3)"},
      {[&] { leaf->setChild(&child, 3U); }, "setChild(kid,3)"},
      {[&] { leaf->removeChild("x"); }, "removeChild(x)"},
      {[&] { leaf->removeChild(3U); }, "removeChild(3)"},
      {[&] { leaf->removeChildren(); }, "removeChildren()"},
      {[&] { leaf->getNumChildren(); }, "getNumChildren()"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(thrown(row.operation), "NotSupportedException: " + row.refusal + " not supported on m.n");
  }
}

TEST_F(Leaf, RefusesAnIteratorWithTheDefaultMessage) {
  EXPECT_EQ(thrown([&] { leaf->iterator(true); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { leaf->iterator(false); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { leaf->iterator(); }), "NotSupportedException: General Exception");
}

TEST_F(Leaf, NeitherTakesNorDeletesARefusedChild) {
  EXPECT_THROW(leaf->addChild("x", &child), NotSupportedException);
  EXPECT_THROW(leaf->setChild("x", &child), NotSupportedException);
  EXPECT_EQ(child.getName(), "kid");
  EXPECT_EQ(child.getParent(), nullptr);
}

TEST(OperationElem, RefusesChildrenLikeEveryLeaf) {
  OperationElem operation;
  EXPECT_EQ(thrown([&] { operation.getChildRaw("x"); }),
            "NotSupportedException: getChild(x) not supported on ");
}

}  // namespace
