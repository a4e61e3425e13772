#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "MapElem.h"
#include "ObjectStore.h"

namespace {

// Set in the environment of a program in which a static object uses the store before the other units are
// ready.
constexpr const char* veryFirst = "OBJECT_STORE_VERY_FIRST";

// Constructed before and destroyed after everything else, as a static object may be whose unit does not
// include the header and calls one that does.
struct VeryFirst {
  const bool active = std::getenv(veryFirst) != nullptr;

  VeryFirst() {
    if (active) ObjectStore.setAttribute("first", new MapElem);
  }
  ~VeryFirst() {
    if (!active) return;
    ObjectStore.setAttribute("first", "last", new MapElem);
    const std::string name = ObjectStore.getName(ObjectStore.getElement("root.globals.first.last"));
    std::fprintf(stderr, "destroyed last: %s\n", name.c_str());
  }
};
[[gnu::init_priority(101)]] VeryFirst first;

// Reads the members, with no operation called before, in a unit that is linked before the store's own.
struct Members {
  MapElem* root = ObjectStore._root;
  MapElem* sys = ObjectStore._sys;
  MapElem* classes = ObjectStore._class;
  MapElem* globals = ObjectStore._globals;
  MapElem* rules = ObjectStore._rules;
  std::string classLocation = ObjectStore._classLocation;
  std::string globalsLocation = ObjectStore._globalsLocation;
};
const Members early;

TEST(ObjectStoreStartUp, IsDoneForTheStaticObjectsOfAnyUnit) {
  ASSERT_NE(early.root, nullptr);
  EXPECT_EQ(early.root, ObjectStore._root);
  EXPECT_EQ(early.sys, ObjectStore._sys);
  EXPECT_EQ(early.classes, ObjectStore._class);
  EXPECT_EQ(early.globals, ObjectStore._globals);
  EXPECT_EQ(early.rules, ObjectStore._rules);
  EXPECT_EQ(early.classLocation, "sys.class");
  EXPECT_EQ(early.globalsLocation, "globals");
}

// The program is started anew for this, with the first object active.
TEST(ObjectStoreStartUpDeathTest, LastsFromTheFirstStaticObjectToTheLast) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  setenv(veryFirst, "1", 1);
  EXPECT_EXIT(std::exit(ObjectStore._globals->hasChild("first") ? 0 : 1), testing::ExitedWithCode(0),
              "destroyed last: first.last");
  unsetenv(veryFirst);
}

}  // namespace
