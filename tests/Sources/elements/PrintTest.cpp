#include <gtest/gtest.h>

#include <string>

#include "AliasElem.h"
#include "CompositeElem.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "Thrown.h"

namespace {

struct Dump {
  std::string text;
  std::string failure;
};

template <typename Print>
Dump capture(Print print) {
  testing::internal::CaptureStdout();
  const std::string failure = thrown(print);
  return {testing::internal::GetCapturedStdout(), failure};
}

Dump dump(Element& element, const std::string& title) {
  return capture([&] { element.print(title); });
}

TEST(Print, WritesOneLineForAnEmptyContainer) {
  MapElem map;
  const Dump dumped = dump(map, "t");
  EXPECT_EQ(dumped.text, " t :  \r\n");
  EXPECT_EQ(dumped.failure, "nothing");
}

TEST(Print, IndentsTheChildrenByThreeBlanks) {
  MapElem root;
  auto* const list = new ListElem;
  root.addChild("a", list);
  list->addChild(0, new MapElem);
  list->addChild(1, new ListElem);
  root.addChild("b", new CompositeElem(list));
  // The list is the composite's enclosure: its children follow in the chained walk.
  EXPECT_EQ(dump(root, "root").text,
            " root :  \r\n"
            "    a :  \r\n"
            "       0 :  \r\n"
            "       1 :  \r\n"
            "    b :   <.a> \r\n"
            "       0 :  \r\n"
            "       1 :  \r\n");
}

TEST(Print, EndsWithAnExceptionAtTheFirstLeaf) {
  MapElem root;
  root.addChild("a", new MapElem);
  root.addChild("n", new IntegerElem(5));
  root.addChild("z", new MapElem);
  const Dump dumped = dump(root, "t");
  EXPECT_EQ(dumped.text, " t :  \r\n    a :  \r\n    n : : 5 \r\n");
  EXPECT_EQ(dumped.failure, "NotSupportedException: General Exception");
}

TEST(Print, DoesNotDescendIntoAliases) {
  MapElem root;
  root.changeName("root");
  root.addChild("root", new AliasElem(&root));
  root.addChild("z", new MapElem);
  const Dump dumped = dump(root, "t");
  EXPECT_EQ(dumped.text, " t :  \r\n    root : : root \r\n    z :  \r\n");
  EXPECT_EQ(dumped.failure, "nothing");
}

TEST(Print, StopsAfterTwentySixLevels) {
  MapElem root;
  MapElem* level = &root;
  for (int depth = 0; depth < 40; ++depth) {
    auto* const deeper = new MapElem;
    level->addChild("x", deeper);
    level = deeper;
  }
  std::string expected = " t :  \r\n";
  for (std::size_t depth = 1; depth <= 25; ++depth) expected += std::string(3 * depth, ' ') + " x :  \r\n";
  EXPECT_EQ(dump(root, "t").text, expected + "MAX NUMBER OF LEVEL REACHED!\r\n");
}

TEST(Print, WorksOnItsArgumentsAlone) {
  IntegerElem caller(1);
  MapElem map;
  map.addChild("x", new MapElem);
  EXPECT_EQ(capture([&] { caller.print(">", "name", &map, 1); }).text,
            "> name :  \r\n>    x :  \r\nMAX NUMBER OF LEVEL REACHED!\r\n");
  // At the limit, the children of a leaf are not requested.
  const Dump atLimit = capture([&] { map.print("", "n", &caller, 0); });
  EXPECT_EQ(atLimit.text, " n : : 1 \r\nMAX NUMBER OF LEVEL REACHED!\r\n");
  EXPECT_EQ(atLimit.failure, "nothing");
}

TEST(Print, ChecksTheLimitBeforeTheAlias) {
  MapElem map;
  map.changeName("m");
  AliasElem alias(&map);
  EXPECT_EQ(capture([&] { map.print("", "a", &alias, 0); }).text,
            " a : : m \r\nMAX NUMBER OF LEVEL REACHED!\r\n");
}

}  // namespace
