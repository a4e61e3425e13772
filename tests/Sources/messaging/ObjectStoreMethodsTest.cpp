#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "AliasElem.h"
#include "IntegerElem.h"
#include "ObjectStoreFixture.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Call = Method::Call;

// job is an object of Derived, whose superclass is Middle, whose superclass is Base.
class ObjectStoreMethod : public ObjectStoreTest {
 protected:
  CompositeElem* const base = addClass("Base");
  CompositeElem* const middle = addClass("Middle", base);
  CompositeElem* const derived = addClass("Derived", middle);
  CompositeElem* const job = addObject("job", derived);
  ListElem args;
  MapElem result;
};

TEST_F(ObjectStoreMethod, RunsWithTheObjectAsContext) {
  addMethod(job, "start");
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callMethod(job, "start", &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, &args)));
}

TEST_F(ObjectStoreMethod, IsFoundInTheClassesOfTheObject) {
  addMethod(base, "start");
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callMethod(job, "start", nullptr), &result);
  addMethod(derived, "stop");
  ObjectStore.callMethod(job, "stop", &args);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, nullptr), Call(job, &args)));
}

TEST_F(ObjectStoreMethod, RunsOnAnObjectThatAPathLeadsTo) {
  addMethod(base, "start");
  addMethod(globals, "find");
  Method::answers = {job, &result};
  EXPECT_EQ(ObjectStore.callMethod("find", "start", &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(globals, nullptr), Call(job, &args)));
}

TEST_F(ObjectStoreMethod, CanBeNamedByItsFullPath) {
  addMethod(base, "start");
  MapElem* const folder = addMap(globals, "folder");
  add(folder, "link", new AliasElem(job));
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callMethod("job.start", &args), &result);
  ObjectStore.callMethod("folder.link.start", nullptr);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, &args), Call(job, nullptr)));
}

TEST_F(ObjectStoreMethod, CanStandBehindAnAlias) {
  OperationElem method(&Method::run);
  add(derived, "start", new AliasElem(&method));
  ObjectStore.callMethod(job, "start", &args);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, &args)));
}

TEST_F(ObjectStoreMethod, HasANameOfOneSegment) {
  addMethod(addMap(job, "a"), "b");
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod(job, "a.b", nullptr); }),
            "NoSuchElementException: getChildRaw:a.bnot found");
  auto* const dotted = addMethod(derived, "a.b");
  ObjectStore.callMethod("job", "a.b", nullptr);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, nullptr)));
  EXPECT_EQ(thrown([&] { ObjectStore.callSuperMethod(dotted, job, nullptr); }),
            "NoSuchElementException: No inherited method a.b for root.sys.class.Derived.a.b");
}

TEST_F(ObjectStoreMethod, MayBeMissing) {
  const std::string failure = "NoSuchElementException: getChildRaw:startnot found";
  addMethod(globals, "void");
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod(job, "start", nullptr); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod("job", "start", nullptr); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod("job.start", nullptr); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod("void", "start", nullptr); }), failure);
  EXPECT_EQ(thrown([&] { ObjectStore.callMethod("q", "start", nullptr); }),
            "NoSuchElementException: getChildRaw:qnot found");
}

TEST_F(ObjectStoreMethod, CanCallTheOneThatItOverrides) {
  OperationElem* const current = addMethod(derived, "start", &Method::fail);
  addMethod(middle, "start");
  addMethod(base, "start", &Method::fail);
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callSuperMethod(current, job, &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, &args)));
}

TEST_F(ObjectStoreMethod, CanCallAnyInheritedOne) {
  OperationElem* const current = addMethod(middle, "start");
  addMethod(base, "prepare");
  addMethod(derived, "prepare", &Method::fail);
  Method::answers = {&result};
  EXPECT_EQ(ObjectStore.callSuperMethod(current, job, "prepare", &args), &result);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, &args)));
}

TEST_F(ObjectStoreMethod, IsInheritedAcrossSeveralClasses) {
  OperationElem* const current = addMethod(derived, "start", &Method::fail);
  addMethod(base, "start");
  ObjectStore.callSuperMethod(current, job, nullptr);
  EXPECT_THAT(Method::calls, ElementsAre(Call(job, nullptr)));
}

TEST_F(ObjectStoreMethod, WithoutAnythingToInheritIsNoSuchElement) {
  OperationElem detached(&Method::run);
  detached.changeName("m");
  MapElem map;
  IntegerElem leaf(1);
  CompositeElem aboveLeaf(&leaf);
  const struct {
    const char* reason;
    Element* current;
    const char* message;
  } table[] = {
      {"no parent", &detached, "No inherited method m for m"},
      {"the parent is no composite", addMethod(&map, "m"), "No inherited method m for .m"},
      {"no enclosure", addMethod(base, "m"), "No inherited method m for root.sys.class.Base.m"},
      {"no such method", addMethod(middle, "n"), "No inherited method n for root.sys.class.Middle.n"},
      {"a leaf for an enclosure", addMethod(&aboveLeaf, "m"), "No inherited method m for .m"},
  };
  for (const auto& row : table) {
    const std::string failure = std::string("NoSuchElementException: ") + row.message;
    Element* const current = row.current;
    EXPECT_EQ(thrown([&] { ObjectStore.callSuperMethod(current, job, &args); }), failure) << row.reason;
    EXPECT_EQ(thrown([&] { ObjectStore.callSuperMethod(current, job, current->getName(), &args); }), failure)
        << row.reason;
  }
  EXPECT_THAT(Method::calls, IsEmpty());
}

TEST_F(ObjectStoreMethod, OfASuperclassThatFailsToLookUpIsNoSuchElement) {
  struct FailingElem : MapElem {
    using MapElem::getChildRaw;
    Element* getChildRaw(const std::string&) override { throw Exception("plain"); }
  };
  FailingElem failing;
  CompositeElem cls(&failing);
  OperationElem* const current = addMethod(&cls, "m");
  EXPECT_EQ(thrown([&] { ObjectStore.callSuperMethod(current, job, nullptr); }),
            "NoSuchElementException: No inherited method m for .m");
}

// Every operation that evaluates something. The rule "fail" and the method "fail", which the superclass of
// the object "job" has as well, are what is evaluated, or "instantiate".
std::vector<std::function<void()>> evaluations(Element* job, Element* current) {
  Element* const globals = ObjectStore._globals;
  return {
      [] { ObjectStore.getElement("globals.fail.x"); },
      [=] { ObjectStore.getElement(globals, "fail.x"); },
      [=] { ObjectStore.evalElement(globals, "fail", nullptr); },
      [=] { ObjectStore.evalElement(globals, "fail.x", nullptr); },
      [] { ObjectStore.getObject("fail"); },
      [] { ObjectStore.callRule("fail", nullptr); },
      [=] { ObjectStore.callMethod(job, "fail", nullptr); },
      [] { ObjectStore.callMethod("job", "fail", nullptr); },
      [] { ObjectStore.callMethod("fail", "m", nullptr); },
      [] { ObjectStore.callMethod("job.fail", nullptr); },
      [=] { ObjectStore.callSuperMethod(current, job, "fail", nullptr); },
      [=] { ObjectStore.callSuperMethod(current, job, nullptr); },
      [] { ObjectStore.instantiate(ObjectStore._class->getChildRaw("Derived"), nullptr); },
      [] { ObjectStore.instantiate("Derived", nullptr); },
      [=] { ObjectStore.getAttribute(job, "fail"); },
      [] { ObjectStore.getAttribute("fail"); },
      [] { ObjectStore.getAttribute("job", "fail"); },
      [] { ObjectStore.getAttribute("fail", "x"); },
      [] { ObjectStore.setAttribute("fail", "x", nullptr); },
      [=] { ObjectStore.createElement(globals, "fail"); },
      [=] { ObjectStore.createElement(globals, "fail.x"); },
  };
}

TEST_F(ObjectStoreMethod, LetsItsFailuresOutUnchanged) {
  const auto failingWith = [&](OperationElem::Function function) {
    ObjectStore.setAttribute("fail", new OperationElem(function));
    ObjectStore.setAttribute(middle, "fail", new OperationElem(function));
    ObjectStore.setAttribute(middle, "instantiate", new OperationElem(function));
    auto* const current = new OperationElem(function);
    ObjectStore.setAttribute(derived, "fail", current);
    return evaluations(job, current);
  };
  const auto missing = [](Element*, ListElem*) -> Element* { throw NoSuchElementException("own"); };
  for (const auto& call : failingWith(missing)) EXPECT_EQ(thrown(call), "NoSuchElementException: own");
  const auto refused = [](Element*, ListElem*) -> Element* { throw NotSupportedException("own"); };
  for (const auto& call : failingWith(refused)) EXPECT_EQ(thrown(call), "NotSupportedException: own");
  const auto plain = [](Element*, ListElem*) -> Element* { throw Exception("own"); };
  for (const auto& call : failingWith(plain)) EXPECT_EQ(thrown(call), "Exception");
  const auto foreign = [](Element*, ListElem*) -> Element* { throw std::runtime_error("own"); };
  for (const auto& call : failingWith(foreign)) EXPECT_THROW(call(), std::runtime_error);
}

}  // namespace
