#include <gtest/gtest.h>

#include "CompositeElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NonterminalElem.h"
#include "Thrown.h"

namespace {

TEST(NonterminalElem, RefusesScalarValuesByFullName) {
  MapElem root;
  root.changeName("root");
  Element* const containers[] = {new ListElem, new MapElem, new CompositeElem(nullptr)};
  for (Element* const container : containers) {
    root.removeChildren();
    root.addChild("x", container);
    EXPECT_EQ(thrown([&] { container->stringValue(); }),
              "NotSupportedException: stringValue() not supported on root.x");
    EXPECT_EQ(thrown([&] { container->intValue(); }),
              "NotSupportedException: intValue() not supported on root.x");
    EXPECT_EQ(thrown([&] { container->booleanValue(); }),
              "NotSupportedException: booleanValue() not supported on root.x");
  }
  root.removeChildren();
  for (Element* const container : containers) delete container;
}

TEST(NonterminalElem, HasNoBinaryAndNoObjectValue) {
  ListElem list;
  EXPECT_EQ(thrown([&] { list.binaryValue(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { list.binaryLength(); }), "NotSupportedException: General Exception");
  EXPECT_EQ(thrown([&] { list.objectValue(); }), "NotSupportedException: General Exception");
}

TEST(NonterminalElem, EvaluatesToItself) {
  MapElem map;
  EXPECT_EQ(map.eval(nullptr, nullptr), &map);
}

}  // namespace
