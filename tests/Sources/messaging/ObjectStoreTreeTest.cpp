#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "AliasElem.h"
#include "IntegerElem.h"
#include "ObjectStoreFixture.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> namesOf(Element* container) {
  std::vector<std::string> names;
  const std::unique_ptr<ElementIterator> walk(container->iterator(false));
  while (walk->hasNext()) {
    names.push_back(walk->nextName());
    walk->next();
  }
  return names;
}

template <typename Print>
std::string printed(Print print) {
  testing::internal::CaptureStdout();
  const std::string failure = thrown(print);
  const std::string text = testing::internal::GetCapturedStdout();
  return failure == "nothing" ? text : text + failure;
}

using ObjectStoreTree = ObjectStoreTest;
using ObjectStoreName = ObjectStoreTest;
using ObjectStorePrint = ObjectStoreTest;

static_assert(std::is_same_v<decltype(ObjectStore._root), MapElem*>);
static_assert(std::is_same_v<decltype(ObjectStore._sys), MapElem*>);
static_assert(std::is_same_v<decltype(ObjectStore._class), MapElem*>);
static_assert(std::is_same_v<decltype(ObjectStore._globals), MapElem*>);
static_assert(std::is_same_v<decltype(ObjectStore._rules), MapElem*>);
static_assert(std::is_same_v<decltype(ObjectStore._classLocation), std::string>);
static_assert(std::is_same_v<decltype(ObjectStore._globalsLocation), std::string>);
static_assert(std::is_empty_v<class ObjectStore>);

TEST_F(ObjectStoreTree, StandsAtTheStartOfTheProgram) {
  EXPECT_EQ(ObjectStore.getRoot(), ObjectStore._root);
  EXPECT_EQ(ObjectStore._root->getName(), "root");
  EXPECT_EQ(ObjectStore._root->getParent(), nullptr);
  EXPECT_THAT(namesOf(ObjectStore._root), ElementsAre("globals", "root", "sys"));
  EXPECT_EQ(ObjectStore._root->getChildRaw("globals"), ObjectStore._globals);
  EXPECT_EQ(ObjectStore._root->getChildRaw("sys"), ObjectStore._sys);
  EXPECT_THAT(namesOf(ObjectStore._sys), ElementsAre("class"));
  EXPECT_EQ(ObjectStore._sys->getChildRaw("class"), ObjectStore._class);
  EXPECT_THAT(namesOf(ObjectStore._globals), IsEmpty());
  EXPECT_THAT(namesOf(ObjectStore._class), IsEmpty());
}

TEST_F(ObjectStoreTree, HoldsAnAliasOfItsRootUnderRoot) {
  Element* const alias = ObjectStore._root->getChildRaw("root");
  ASSERT_NE(dynamic_cast<AliasElem*>(alias), nullptr);
  EXPECT_EQ(alias->eval(nullptr, nullptr), ObjectStore._root);
}

TEST_F(ObjectStoreTree, KeepsTheRulesOutside) {
  EXPECT_EQ(ObjectStore._rules->getParent(), nullptr);
  EXPECT_EQ(ObjectStore._rules->getName(), "");
  EXPECT_EQ(ObjectStore._rules->getNumChildren(), 0U);
}

TEST_F(ObjectStoreTree, KnowsItsPaths) {
  EXPECT_EQ(ObjectStore._classLocation, "sys.class");
  EXPECT_EQ(ObjectStore.getElement(ObjectStore._classLocation), ObjectStore._class);
  EXPECT_EQ(ObjectStore._globalsLocation, "globals");
  EXPECT_EQ(ObjectStore.getElement(ObjectStore._globalsLocation), ObjectStore._globals);
}

TEST_F(ObjectStoreTree, IsTheSameForAnyOtherInstance) {
  MapElem* const root = ObjectStore._root;
  Element* const alias = root->getChildRaw("root");
  MapElem* const object = addMap(globals, "object");
  class ObjectStore other;
  EXPECT_EQ(other.getRoot(), root);
  EXPECT_EQ(root->getChildRaw("root"), alias);
  EXPECT_EQ(other.getObject("object"), object);
}

TEST_F(ObjectStoreName, IsThePathBelowGlobals) {
  MapElem* const scanner = addMap(globals, "scanner");
  MapElem* const job = addMap(scanner, "job");
  EXPECT_EQ(ObjectStore.getName(scanner), "scanner");
  EXPECT_EQ(ObjectStore.getName(job), "scanner.job");
  EXPECT_EQ(ObjectStore.getName(addMap(job, "page")), "scanner.job.page");
  EXPECT_EQ(ObjectStore.getObject(ObjectStore.getName(job)), job);
}

TEST_F(ObjectStoreName, OfAnAliasIsThatOfItsTarget) {
  MapElem* const scanner = addMap(globals, "scanner");
  EXPECT_EQ(ObjectStore.getName(add(scanner, "me", new AliasElem(scanner))), "scanner");
}

TEST_F(ObjectStoreName, IsRefusedOutsideGlobals) {
  const auto refusal = [](Element* element) { return thrown([&] { ObjectStore.getName(element); }); };
  const std::string start = "NotSupportedException: Element is not an object: ";
  EXPECT_EQ(refusal(ObjectStore._globals), start + "root.globals");
  EXPECT_EQ(refusal(addClass("Job")), start + "root.sys.class.Job");
  EXPECT_EQ(refusal(ObjectStore._root), start + "root");
  MapElem detached;
  EXPECT_EQ(refusal(&detached), start);
  detached.changeName("top");
  EXPECT_EQ(refusal(addMap(&detached, "x")), start + "top.x");
}

TEST_F(ObjectStorePrint, ShowsTheWholeTree) {
  EXPECT_EQ(printed([] { ObjectStore.print(""); }),
            " root : \r\n"
            "    globals : \r\n"
            "    root : : root\r\n"
            "    sys : \r\n"
            "       class : \r\n");
}

TEST_F(ObjectStorePrint, ShowsObjectsWithTheirClassesAndAliasesAlone) {
  CompositeElem* const cls = addClass("Job");
  addMap(cls, "inherited");
  CompositeElem* const job = addObject("job", cls);
  addMap(job, "own");
  add(globals, "link", new AliasElem(job));
  auto* const list = add(job, "list", new ListElem);
  list->addChild(0, new MapElem);
  list->addChild(1, new CompositeElem(nullptr));
  EXPECT_EQ(printed([] { ObjectStore.print("|"); }),
            "| root : \r\n"
            "|    globals : \r\n"
            "|       job :   <root.sys.class.Job>\r\n"
            "|          list : \r\n"
            "|             0 : \r\n"
            "|             1 :   <>\r\n"
            "|          own : \r\n"
            "|       link : : root.globals.job\r\n"
            "|    root : : root\r\n"
            "|    sys : \r\n"
            "|       class : \r\n"
            "|          Job :   <>\r\n"
            "|             inherited : \r\n");
}

TEST_F(ObjectStorePrint, StartsAtAnElementUnderAnyName) {
  addMap(addMap(globals, "a"), "b");
  EXPECT_EQ(printed([&] { ObjectStore.print(">", "any", globals); }),
            "> any : \r\n"
            ">    a : \r\n"
            ">       b : \r\n");
}

TEST_F(ObjectStorePrint, GoesDownAsManyLevelsAsAsked) {
  addMap(addMap(globals, "a"), "b");
  const auto levels = [&](int depth) {
    return printed([&] { ObjectStore.print("", "globals", globals, depth); });
  };
  EXPECT_EQ(levels(-1), " globals : \r\n");
  EXPECT_EQ(levels(0), " globals : \r\n");
  EXPECT_EQ(levels(1), " globals : \r\n    a : \r\n");
  EXPECT_EQ(levels(2), " globals : \r\n    a : \r\n       b : \r\n");
  EXPECT_EQ(levels(3), levels(2));
}

TEST_F(ObjectStorePrint, GoesDownTwentyFiveLevelsByDefault) {
  Element* level = ObjectStore._globals;
  for (int depth = 0; depth < 40; ++depth) level = addMap(level, "x");
  std::string below;
  for (std::size_t depth = 1; depth <= 25; ++depth) below += std::string(3 * depth, ' ') + " x : \r\n";
  EXPECT_EQ(printed([&] { ObjectStore.print("", "globals", globals); }), " globals : \r\n" + below);

  const std::string whole = printed([] { ObjectStore.print(""); });
  EXPECT_NE(whole.find(std::string(3 * 25, ' ') + " x : \r\n    root : : root\r\n"), std::string::npos);
}

TEST_F(ObjectStorePrint, EndsAtTheFirstLeafAboveTheLastLevel) {
  addMap(globals, "a");
  add(globals, "n", new IntegerElem(5));
  addMap(globals, "z");
  EXPECT_EQ(printed([&] { ObjectStore.print("", "globals", globals); }),
            " globals : \r\n"
            "    a : \r\n"
            "    n : : 5\r\n"
            "NotSupportedException: General Exception");
  EXPECT_EQ(printed([&] { ObjectStore.print("", "globals", globals, 1); }),
            " globals : \r\n"
            "    a : \r\n"
            "    n : : 5\r\n"
            "    z : \r\n");
}

TEST_F(ObjectStorePrint, StartsAtAnAliasWithoutDescending) {
  addMap(globals, "a");
  AliasElem alias(globals);
  EXPECT_EQ(printed([&] { ObjectStore.print("", "alias", &alias); }), " alias : : root.globals\r\n");
}

}  // namespace
