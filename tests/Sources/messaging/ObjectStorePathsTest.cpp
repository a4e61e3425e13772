#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "AliasElem.h"
#include "IntegerElem.h"
#include "ObjectStoreFixture.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Call = Method::Call;
using ObjectStorePath = ObjectStoreTest;

TEST_F(ObjectStorePath, LeadsFromTheRoot) {
  MapElem* const scanner = addMap(globals, "scanner");
  MapElem* const job = addMap(scanner, "job");
  const struct {
    const char* path;
    Element* element;
  } table[] = {
      {"globals", globals},
      {"sys", ObjectStore._sys},
      {"sys.class", ObjectStore._class},
      {"globals.scanner", scanner},
      {"globals.scanner.job", job},
      {"root.globals", globals},
      {"root.root.globals", globals},
      {"root.root.root.sys.class", ObjectStore._class},
      {"root", ObjectStore._root->getChildRaw("root")},
      {"root.root", ObjectStore._root->getChildRaw("root")},
  };
  for (const auto& [path, element] : table) EXPECT_EQ(ObjectStore.getElement(path), element) << path;
}

TEST_F(ObjectStorePath, LeadsFromAnyElement) {
  MapElem* const job = addMap(addMap(globals, "scanner"), "job");
  EXPECT_EQ(ObjectStore.getElement(globals, "scanner.job"), job);
  EXPECT_EQ(ObjectStore.getElement(job->getParent(), "job"), job);
  EXPECT_EQ(ObjectStore.evalElement(globals, "scanner.job", nullptr), job);
}

TEST_F(ObjectStorePath, IsTheFullNameOfWhatItLeadsTo) {
  MapElem* const scanner = addMap(globals, "scanner");
  auto* const list = add(scanner, "pages", new ListElem);
  list->addChild(0, new IntegerElem(1));
  auto* const page = new MapElem;
  list->addChild(1, page);
  for (Element* const element :
       std::initializer_list<Element*>{globals, ObjectStore._class, ObjectStore._sys, scanner, list,
                                       list->getChildRaw(0), page, addMap(page, "x"), addClass("Job")}) {
    EXPECT_EQ(ObjectStore.getElement(element->getFullName()), element) << element->getFullName();
  }
  EXPECT_EQ(ObjectStore.evalElement(ObjectStore.getRoot(), ObjectStore.getRoot()->getFullName(), nullptr),
            ObjectStore.getRoot());
}

TEST_F(ObjectStorePath, IsSplitAtEveryDot) {
  MapElem* const unnamed = addMap(globals, "");
  MapElem* const inside = addMap(unnamed, "x");
  MapElem* const twice = addMap(unnamed, "");
  EXPECT_EQ(ObjectStore.getElement(globals, ""), unnamed);
  EXPECT_EQ(ObjectStore.getElement(globals, "."), twice);
  EXPECT_EQ(ObjectStore.getElement(globals, ".x"), inside);
  EXPECT_EQ(ObjectStore.getElement("globals."), unnamed);
  EXPECT_EQ(ObjectStore.getElement("globals..x"), inside);
  EXPECT_EQ(ObjectStore.getObject(""), unnamed);
}

TEST_F(ObjectStorePath, FailsAsTheLookUpOfTheMissingNameDoes) {
  addMap(globals, "scanner");
  add(globals, "n", new IntegerElem(5));
  add(globals, "list", new ListElem);
  const struct {
    const char* path;
    const char* failure;
  } table[] = {
      {"", "NoSuchElementException: getChildRaw:not found"},
      {"q", "NoSuchElementException: getChildRaw:qnot found"},
      {"q.r", "NoSuchElementException: getChildRaw:qnot found"},
      {".globals", "NoSuchElementException: getChildRaw:not found"},
      {"globals..scanner", "NoSuchElementException: getChildRaw:not found"},
      {"globals.scanner.", "NoSuchElementException: getChildRaw:not found"},
      {"globals.scanner.job.page", "NoSuchElementException: getChildRaw:jobnot found"},
      {"globals.list.3", "NoSuchElementException: 3"},
      {"globals.n.x", "NotSupportedException: getChild(x) not supported on root.globals.n"},
  };
  for (const auto& row : table) {
    const std::string path = row.path;
    EXPECT_EQ(thrown([&] { ObjectStore.getElement(path); }), row.failure) << path;
    EXPECT_EQ(thrown([&] { ObjectStore.evalElement(ObjectStore._root, path, nullptr); }), row.failure)
        << path;
    EXPECT_EQ(thrown([&] { ObjectStore.createElement(ObjectStore._root, path); }), row.failure) << path;
  }
}

TEST_F(ObjectStorePath, EvaluatesWhatStandsInTheMiddleAgainstItsContainerWithoutArguments) {
  MapElem first;
  MapElem second;
  addMethod(globals, "a");
  addMethod(&first, "b");
  OperationElem* const last = addMethod(&second, "c");
  Method::answers = {&first, &second};
  EXPECT_EQ(ObjectStore.getElement("globals.a.b.c"), last);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr), Call(&first, nullptr)));
}

TEST_F(ObjectStorePath, EvaluatesTheLastElementWithTheArgumentsWhereAsked) {
  MapElem first;
  MapElem result;
  ListElem args;
  addMethod(globals, "a");
  addMethod(&first, "b");
  Method::answers = {&first, &result};
  EXPECT_EQ(ObjectStore.evalElement(ObjectStore._root, "globals.a.b", &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr), Call(&first, &args)));
}

TEST_F(ObjectStorePath, LeavesTheLastElementAsItIs) {
  addMethod(globals, "operation");
  auto* const alias = add(globals, "alias", new AliasElem(globals));
  ObjectStore.getElement("globals.operation");
  EXPECT_THAT(Method::calls, IsEmpty());
  EXPECT_EQ(ObjectStore.getElement("globals.alias"), alias);
  EXPECT_EQ(ObjectStore.getElement("globals.alias.alias.alias"), alias);
}

TEST_F(ObjectStorePath, LeadsThroughTheClassOfAnObject) {
  CompositeElem* const cls = addClass("Job", addClass("Base"));
  MapElem* const inherited = addMap(addMap(ObjectStore._class->getChildRaw("Base"), "x"), "y");
  addObject("job", cls);
  EXPECT_EQ(ObjectStore.getElement("globals.job.x.y"), inherited);
}

TEST_F(ObjectStorePath, EndsWhereAnEvaluationGivesNothing) {
  addMethod(globals, "void");
  const std::string failure = "NoSuchElementException: getChildRaw:xnot found";
  EXPECT_EQ(thrown([] { ObjectStore.getElement("globals.void.x.y"); }), failure);
  EXPECT_EQ(thrown([] { ObjectStore.callRule("void.x", nullptr); }), failure);
  EXPECT_EQ(ObjectStore.getObject("void"), nullptr);
}

TEST_F(ObjectStorePath, OfAnObjectStartsAtGlobals) {
  MapElem result;
  addMethod(globals, "operation");
  MapElem* const object = addMap(globals, "object");
  add(globals, "alias", new AliasElem(object));
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.getObject("object"), object);
  EXPECT_EQ(ObjectStore.getObject("alias"), object);
  EXPECT_EQ(ObjectStore.getObject("operation"), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr)));
}

TEST_F(ObjectStorePath, OfARuleStartsAtGlobals) {
  MapElem result;
  ListElem args;
  MapElem* const folder = addMap(globals, "folder");
  addMethod(folder, "rule");
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callRule("folder.rule", &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(folder, &args)));
  EXPECT_EQ(ObjectStore.callRule("folder", &args), folder);
}

TEST_F(ObjectStorePath, CreatesNothing) {
  MapElem* const object = addMap(globals, "object");
  EXPECT_EQ(ObjectStore.createElement(globals, "object"), object);
  EXPECT_EQ(thrown([&] { ObjectStore.createElement(globals, "object.new"); }),
            "NoSuchElementException: getChildRaw:newnot found");
  EXPECT_EQ(thrown([&] { ObjectStore.createElement(globals, "new.newer"); }),
            "NoSuchElementException: getChildRaw:newnot found");
  EXPECT_EQ(object->getNumChildren(), 0U);
  EXPECT_EQ(globals->getNumChildren(), 1U);
}

TEST_F(ObjectStorePath, IsEvaluatedToItsEndByCreateElement) {
  MapElem first;
  MapElem result;
  addMethod(globals, "a");
  addMethod(&first, "b");
  Method::answers = {&first, &result};
  EXPECT_EQ(ObjectStore.createElement(globals, "a.b"), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr), Call(&first, nullptr)));
}

}  // namespace
