#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "AliasElem.h"
#include "BooleanElem.h"
#include "IntegerElem.h"
#include "ObjectStoreFixture.h"
#include "Thrown.h"

using testing::ElementsAre;

namespace {

using Call = Method::Call;

// job is an object of the class Job.
class ObjectStoreAttribute : public ObjectStoreTest {
 protected:
  CompositeElem* const cls = addClass("Job");
  CompositeElem* const job = addObject("job", cls);
  MapElem result;
};

TEST_F(ObjectStoreAttribute, IsEvaluatedWithItsObjectAsContext) {
  addMethod(cls, "computed");
  addMethod(globals, "computed");
  Method::answers = {&result, &result, &result};
  EXPECT_EQ(ObjectStore.getAttribute(job, "computed"), &result);
  EXPECT_EQ(ObjectStore.getAttribute("computed"), &result);
  EXPECT_EQ(ObjectStore.getAttribute("job", "computed"), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, nullptr), Call(globals, nullptr), Call(job, nullptr)));
}

TEST_F(ObjectStoreAttribute, IsReadFromTheObjectThatAPathLeadsTo) {
  MapElem* const value = addMap(job, "x");
  addMethod(globals, "find");
  add(addMap(globals, "folder"), "link", new AliasElem(job));
  Method::answers = {job};
  EXPECT_EQ(ObjectStore.getAttribute("find", "x"), value);
  EXPECT_EQ(ObjectStore.getAttribute("folder.link", "x"), value);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr)));
}

TEST_F(ObjectStoreAttribute, HasANameOfOneSegment) {
  addMap(addMap(job, "a"), "b");
  const std::string failure = "NoSuchElementException: getChildRaw:a.bnot found";
  EXPECT_EQ(thrown([&] { ObjectStore.getAttribute(job, "a.b"); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.getAttribute("job", "a.b"); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.getAttribute("a.b"); }), failure);
  auto* const dotted = new IntegerElem(1);
  ObjectStore.setAttribute(job, "a.b", dotted);
  EXPECT_EQ(ObjectStore.getAttribute("job", "a.b"), dotted);
}

TEST_F(ObjectStoreAttribute, IsStoredUnderItsName) {
  auto* const ofObject = new IntegerElem(1);
  ObjectStore.setAttribute(job, "x", ofObject);
  EXPECT_EQ(job->getChildRaw("x"), ofObject);
  EXPECT_EQ(ofObject->getFullName(), "root.globals.job.x");
  auto* const global = new IntegerElem(2);
  ObjectStore.setAttribute("x", global);
  EXPECT_EQ(globals->getChildRaw("x"), global);
  auto* const byPath = new IntegerElem(3);
  ObjectStore.setAttribute("job", "y", byPath);
  EXPECT_EQ(job->getChildRaw("y"), byPath);
}

TEST_F(ObjectStoreAttribute, IsStoredInTheObjectThatAPathLeadsTo) {
  addMethod(globals, "find");
  add(addMap(globals, "folder"), "link", new AliasElem(job));
  Method::answers = {job};
  ObjectStore.setAttribute("find", "x", new IntegerElem(1));
  ObjectStore.setAttribute("folder.link", "y", new IntegerElem(2));
  EXPECT_EQ(job->getChildRaw("x")->intValue(), 1);
  EXPECT_EQ(job->getChildRaw("y")->intValue(), 2);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr)));
}

TEST_F(ObjectStoreAttribute, IsDeletedWhenAnotherTakesItsPlace) {
  const auto first = add(job, "x", new Witness)->gone;
  const auto second = add(globals, "x", new Witness)->gone;
  const auto third = add(job, "y", new Witness)->gone;
  ObjectStore.setAttribute(job, "x", new IntegerElem(1));
  ObjectStore.setAttribute("x", new IntegerElem(2));
  ObjectStore.setAttribute("job", "y", new IntegerElem(3));
  EXPECT_TRUE(*first && *second && *third);
  EXPECT_EQ(job->getChildRaw("x")->intValue(), 1);
  EXPECT_EQ(globals->getChildRaw("x")->intValue(), 2);
  EXPECT_EQ(job->getChildRaw("y")->intValue(), 3);
}

TEST_F(ObjectStoreAttribute, OfTheClassStaysWhenTheObjectGetsItsOwn) {
  Witness* const inherited = add(cls, "x", new Witness);
  const auto gone = inherited->gone;
  ObjectStore.setAttribute(job, "x", new IntegerElem(1));
  EXPECT_FALSE(*gone);
  EXPECT_EQ(ObjectStore.getAttribute(cls, "x"), inherited);
  EXPECT_EQ(ObjectStore.getAttribute(job, "x")->intValue(), 1);
}

TEST_F(ObjectStoreAttribute, IsInsertedIntoAList) {
  auto* const list = add(globals, "list", new ListElem);
  for (const int value : {1, 2, 3}) ObjectStore.setAttribute(list, "0", new IntegerElem(value));
  EXPECT_EQ(ObjectStore.getAttribute("list", "0")->intValue(), 3);
  EXPECT_EQ(ObjectStore.getAttribute("list", "2")->intValue(), 1);
}

TEST_F(ObjectStoreAttribute, RefusedByASetterStaysTheCallers) {
  BooleanElem no(false);
  Witness* const previous = add(job, "x", new Witness);
  const auto previousGone = previous->gone;
  auto* const value = new Witness;
  const auto valueGone = value->gone;
  addMethod(cls, "_set_x");
  Method::answers = {&no, &no};
  ObjectStore.setAttribute(job, "x", value);
  ObjectStore.setAttribute("job", "x", value);
  EXPECT_EQ(Method::calls.size(), 2U);
  EXPECT_FALSE(*previousGone);
  EXPECT_FALSE(*valueGone);
  EXPECT_EQ(job->getChildRaw("x"), previous);
  EXPECT_EQ(value->getParent(), nullptr);
  delete value;
}

TEST_F(ObjectStoreAttribute, AcceptedByASetterTakesThePlaceOfThePrevious) {
  BooleanElem yes(true);
  const auto gone = add(job, "x", new Witness)->gone;
  addMethod(cls, "_set_x");
  Method::answers = {&yes};
  ObjectStore.setAttribute(job, "x", new IntegerElem(1));
  EXPECT_TRUE(*gone);
  EXPECT_EQ(job->getChildRaw("x")->intValue(), 1);
}

TEST_F(ObjectStoreAttribute, OfAFailingSetterChangesNothing) {
  Witness* const previous = add(job, "x", new Witness);
  const auto gone = previous->gone;
  addMethod(cls, "_set_x", &Method::fail);
  IntegerElem value(1);
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute(job, "x", &value); }),
            "NotSupportedException: inside the method");
  EXPECT_FALSE(*gone);
  EXPECT_EQ(job->getChildRaw("x"), previous);
  EXPECT_EQ(value.getParent(), nullptr);
}

TEST_F(ObjectStoreAttribute, ThatStandsElsewhereIsRefused) {
  Witness* const previous = add(job, "x", new Witness);
  const auto gone = previous->gone;
  MapElem* const value = addMap(job, "y");
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute(job, "x", value); }),
            "ObjectStoreException: Element already added");
  EXPECT_FALSE(*gone);
  EXPECT_EQ(job->getChildRaw("x"), previous);
  EXPECT_EQ(job->getChildRaw("y"), value);
}

TEST_F(ObjectStoreAttribute, ThatStandsThereAlreadyIsRefused) {
  Witness* const value = add(job, "x", new Witness);
  const auto gone = value->gone;
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute(job, "x", value); }),
            "ObjectStoreException: Element already added");
  EXPECT_FALSE(*gone);
  EXPECT_EQ(job->getChildRaw("x"), value);
}

TEST_F(ObjectStoreAttribute, ThatStandsThereWithoutKnowingItIsNotDeleted) {
  Witness* const value = add(job, "x", new Witness);
  const auto gone = value->gone;
  value->removed(job);
  ObjectStore.setAttribute(job, "x", value);
  EXPECT_FALSE(*gone);
  EXPECT_EQ(job->getChildRaw("x"), value);
  EXPECT_EQ(value->getParent(), job);
}

TEST_F(ObjectStoreAttribute, OfALeafIsRefused) {
  add(globals, "n", new IntegerElem(1));
  IntegerElem value(2);
  value.changeName("v");
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute("n", "x", &value); }),
            "NotSupportedException: addChild(v,x) not supported on root.globals.n");
  EXPECT_EQ(thrown([] { ObjectStore.getAttribute("n", "x"); }),
            "NotSupportedException: getChild(x) not supported on root.globals.n");
}

TEST_F(ObjectStoreAttribute, NeedsAnObject) {
  IntegerElem value(1);
  addMethod(globals, "void");
  EXPECT_EQ(thrown([] { ObjectStore.getAttribute("void", "x"); }),
            "NoSuchElementException: getChildRaw:xnot found");
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute("void", "x", &value); }),
            "NoSuchElementException: No object to hold the attribute x");
  EXPECT_EQ(thrown([] { ObjectStore.getAttribute("q", "x"); }),
            "NoSuchElementException: getChildRaw:qnot found");
  EXPECT_EQ(thrown([&] { ObjectStore.setAttribute("q", "x", &value); }),
            "NoSuchElementException: getChildRaw:qnot found");
  EXPECT_EQ(thrown([] { ObjectStore.getAttribute("q"); }), "NoSuchElementException: getChildRaw:qnot found");
  EXPECT_EQ(value.getParent(), nullptr);
}

}  // namespace
