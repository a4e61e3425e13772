#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "AliasElem.h"
#include "IntegerElem.h"
#include "ObjectStoreFixture.h"
#include "Thrown.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Call = Method::Call;

// Derived and Sibling are classes below Base.
class ObjectStoreClass : public ObjectStoreTest {
 protected:
  std::unique_ptr<Element> instantiated(const std::string& className, ListElem* given) {
    return std::unique_ptr<Element>(ObjectStore.instantiate(className, given));
  }

  CompositeElem* const base = addClass("Base");
  CompositeElem* const derived = addClass("Derived", base);
  CompositeElem* const sibling = addClass("Sibling", base);
  ListElem args;
};

TEST_F(ObjectStoreClass, MakesAnObjectAndRunsItsConstructor) {
  addMethod(derived, "instantiate");
  const std::unique_ptr<Element> object(ObjectStore.instantiate(derived, &args));
  auto* const composite = dynamic_cast<CompositeElem*>(object.get());
  ASSERT_NE(composite, nullptr);
  EXPECT_EQ(composite->getEnclosure(), derived);
  EXPECT_EQ(object->getParent(), nullptr);
  EXPECT_EQ(object->getName(), "");
  EXPECT_THAT(Method::calls, ElementsAre(Call(object.get(), &args)));
}

TEST_F(ObjectStoreClass, IsInstantiatedByName) {
  addMethod(derived, "instantiate");
  const std::unique_ptr<Element> object = instantiated("Derived", &args);
  EXPECT_TRUE(ObjectStore.instanceOf(object.get(), derived));
  EXPECT_THAT(Method::calls, ElementsAre(Call(object.get(), &args)));
}

TEST_F(ObjectStoreClass, InheritsTheConstructor) {
  addMethod(base, "instantiate");
  const std::unique_ptr<Element> object = instantiated("Derived", nullptr);
  EXPECT_THAT(Method::calls, ElementsAre(Call(object.get(), nullptr)));
}

TEST_F(ObjectStoreClass, DropsWhatTheConstructorGives) {
  Witness* const stored = add(globals, "stored", new Witness);
  const auto gone = stored->gone;
  addMethod(derived, "instantiate");
  Method::answers = {stored};
  const std::unique_ptr<Element> object = instantiated("Derived", nullptr);
  EXPECT_NE(object.get(), stored);
  EXPECT_FALSE(*gone);
}

TEST_F(ObjectStoreClass, MakesNothingWithoutAConstructor) {
  EXPECT_EQ(thrown([] { ObjectStore.instantiate("Derived", nullptr); }),
            "NoSuchElementException: getChildRaw:instantiatenot found");
  EXPECT_EQ(thrown([&] { ObjectStore.instantiate(derived, nullptr); }),
            "NoSuchElementException: getChildRaw:instantiatenot found");
}

TEST_F(ObjectStoreClass, IsNamedByOneSegment) {
  addMethod(base, "instantiate");
  addMethod(addMap(base, "Inner"), "instantiate");
  EXPECT_EQ(thrown([] { ObjectStore.instantiate("Missing", nullptr); }),
            "NoSuchElementException: getChildRaw:Missingnot found");
  EXPECT_EQ(thrown([] { ObjectStore.instantiate("Base.Inner", nullptr); }),
            "NoSuchElementException: getChildRaw:Base.Innernot found");
}

std::shared_ptr<bool> attributeGone;

Element* giveAttributeAndFail(Element* object, ListElem*) {
  auto* const attribute = new Witness;
  attributeGone = attribute->gone;
  object->addChild("attribute", attribute);
  throw NotSupportedException("inside the constructor");
}

Element* storeAndFail(Element* object, ListElem*) {
  ObjectStore.setAttribute("stored", object);
  throw NotSupportedException("inside the constructor");
}

TEST_F(ObjectStoreClass, LeavesNoObjectOfAFailedConstructor) {
  addMethod(derived, "instantiate", &giveAttributeAndFail);
  EXPECT_EQ(thrown([] { ObjectStore.instantiate("Derived", nullptr); }),
            "NotSupportedException: inside the constructor");
  EXPECT_TRUE(*attributeGone);
}

TEST_F(ObjectStoreClass, KeepsAnObjectThatAFailedConstructorHasStored) {
  addMethod(derived, "instantiate", &storeAndFail);
  EXPECT_EQ(thrown([] { ObjectStore.instantiate("Derived", nullptr); }),
            "NotSupportedException: inside the constructor");
  EXPECT_TRUE(ObjectStore.instanceOf(ObjectStore.getObject("stored"), "Derived"));
}

TEST_F(ObjectStoreClass, IsThatOfAnObjectUpTheWholeChain) {
  CompositeElem object(derived);
  EXPECT_TRUE(ObjectStore.instanceOf(&object, &object));
  EXPECT_TRUE(ObjectStore.instanceOf(&object, derived));
  EXPECT_TRUE(ObjectStore.instanceOf(&object, base));
  EXPECT_TRUE(ObjectStore.instanceOf(derived, base));
  EXPECT_FALSE(ObjectStore.instanceOf(&object, sibling));
  EXPECT_FALSE(ObjectStore.instanceOf(derived, &object));
  EXPECT_FALSE(ObjectStore.instanceOf(base, derived));
  EXPECT_FALSE(ObjectStore.instanceOf(&object, ObjectStore._class));
}

TEST_F(ObjectStoreClass, IsAskedForByName) {
  CompositeElem object(derived);
  EXPECT_TRUE(ObjectStore.instanceOf(&object, "Derived"));
  EXPECT_TRUE(ObjectStore.instanceOf(&object, "Base"));
  EXPECT_FALSE(ObjectStore.instanceOf(&object, "Sibling"));
  EXPECT_EQ(thrown([&] { ObjectStore.instanceOf(&object, "Missing"); }),
            "NoSuchElementException: getChildRaw:Missingnot found");
}

TEST_F(ObjectStoreClass, IsComparedByIdentity) {
  AliasElem alias(base);
  CompositeElem object(base);
  EXPECT_FALSE(ObjectStore.instanceOf(&object, &alias));
  CompositeElem behindAlias(&alias);
  EXPECT_TRUE(ObjectStore.instanceOf(&behindAlias, &alias));
  EXPECT_FALSE(ObjectStore.instanceOf(&behindAlias, base));
}

TEST_F(ObjectStoreClass, OfWhatHasNoneIsOnlyItself) {
  MapElem map;
  IntegerElem leaf(1);
  EXPECT_TRUE(ObjectStore.instanceOf(&leaf, &leaf));
  EXPECT_FALSE(ObjectStore.instanceOf(&leaf, base));
  EXPECT_FALSE(ObjectStore.instanceOf(&map, base));
  EXPECT_FALSE(ObjectStore.instanceOf(base, nullptr));
  EXPECT_FALSE(ObjectStore.instanceOf(nullptr, base));
}

TEST_F(ObjectStoreClass, IsLookedForOnceAroundACircle) {
  CompositeElem object(derived);
  base->setEnclosure(derived);
  EXPECT_TRUE(ObjectStore.instanceOf(&object, base));
  EXPECT_FALSE(ObjectStore.instanceOf(&object, sibling));
  base->setEnclosure(base);
  EXPECT_FALSE(ObjectStore.instanceOf(&object, sibling));
}

TEST_F(ObjectStoreClass, ChangesDownTheHierarchy) {
  CompositeElem* const leaf = addClass("Leaf", derived);
  CompositeElem object(base);
  ObjectStore.changeClass(&object, "Base");
  EXPECT_EQ(object.getEnclosure(), base);
  ObjectStore.changeClass(&object, "Derived");
  EXPECT_EQ(object.getEnclosure(), derived);
  object.setEnclosure(base);
  ObjectStore.changeClass(&object, "Leaf");
  EXPECT_EQ(object.getEnclosure(), leaf);
}

TEST_F(ObjectStoreClass, ChangesNeitherUpNorSideways) {
  addMap(ObjectStore._class, "NoClass");
  for (const char* const className : {"Base", "Sibling", "NoClass", "Missing", "", "Derived.x"}) {
    CompositeElem object(derived);
    EXPECT_EQ(thrown([&] { ObjectStore.changeClass(&object, className); }),
              std::string("ClassCastException: Cannot change class to ") + className);
    EXPECT_EQ(object.getEnclosure(), derived);
  }
}

TEST_F(ObjectStoreClass, ChangesOnlyForObjectsOfAClass) {
  const std::string failure = "ClassCastException: Cannot change class to Derived";
  MapElem map;
  CompositeElem object(base);
  CompositeElem withoutClass(nullptr);
  AliasElem alias(&object);
  for (Element* const element : std::initializer_list<Element*>{&map, &withoutClass, &alias, nullptr}) {
    EXPECT_EQ(thrown([&] { ObjectStore.changeClass(element, "Derived"); }), failure);
  }
  EXPECT_EQ(withoutClass.getEnclosure(), nullptr);
  EXPECT_EQ(object.getEnclosure(), base);
}

TEST_F(ObjectStoreClass, NeverComesToEncloseItself) {
  addClass("Leaf", derived);
  for (const char* const className : {"Derived", "Leaf"}) {
    EXPECT_EQ(thrown([&] { ObjectStore.changeClass(derived, className); }),
              std::string("ClassCastException: Cannot change class to ") + className);
    EXPECT_EQ(derived->getEnclosure(), base);
  }
}

}  // namespace
