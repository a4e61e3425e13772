#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "AliasElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "Decoding.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "NullElem.h"
#include "ObjectStore.h"
#include "OperationElem.h"
#include "ParsedText.h"
#include "Reading.h"
#include "XMLEncoding.h"

namespace {

std::string composite(const std::string& enclosure, const std::string& entries = "") {
  return "<CompositeElem  enclosure=\"" + enclosure + "\">" + entries + "</CompositeElem>";
}

std::string entry(const std::string& key, const std::string& value) {
  return "<child name=\"" + key + "\">" + value + "</child>";
}

std::unique_ptr<CompositeElem> parsed(const std::string& text) {
  const ParsedText document(text);
  return std::unique_ptr<CompositeElem>(XMLEncoding::parseCompositeElem(document.root()));
}

TEST(XMLEncodingComposites, HaveTheEnclosureThatTheStoreHas) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  EXPECT_EQ(parsed(composite("sys.class.Camera"))->getEnclosure(), camera.get());
  EXPECT_EQ(parsed(composite("root.sys.class.Camera"))->getEnclosure(), camera.get());
  EXPECT_EQ(parsed(composite(camera->getFullName()))->getEnclosure(), camera.get());
}

TEST(XMLEncodingComposites, TakeTheEnclosureAsItIsHeld) {
  MapElem target;
  const Stored alias("globals", "alias", new AliasElem(&target));
  EXPECT_EQ(parsed(composite("globals.alias"))->getEnclosure(), alias.get());
}

TEST(XMLEncodingComposites, TakeTheirFirstAttributeForTheEnclosure) {
  EXPECT_EQ(parsed("<CompositeElem a=\"sys\" enclosure=\"globals\"/>")->getEnclosure(),
            ObjectStore.getElement("sys"));
  EXPECT_EQ(parsed("<anything a=\"globals\"/>")->getEnclosure(), ObjectStore.getElement("globals"));
}

TEST(XMLEncodingComposites, HoldTheirEntriesLikeMaps) {
  const auto made = parsed(composite(
      "globals", entry("b", "<NullElem/>") + entry("a", "<BinaryElem/>") + entry("b", "<ListElem/>")));
  EXPECT_EQ(treeOf(made.get()), "root.globals{b: []}");
  EXPECT_EQ(made->getChildRaw("b")->getParent(), made.get());
  EXPECT_EQ(made->getParent(), nullptr);
}

TEST(XMLEncodingComposites, FindInheritedMembers) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  camera->addChild("lens", new IntegerElem(50));
  const auto made = parsed(composite("sys.class.Camera", entry("flash", "<NullElem/>")));
  EXPECT_EQ(made->getChildRaw("lens"), camera->getChildRaw("lens"));
  EXPECT_EQ(made->getNumChildren(), 1U);
}

TEST(XMLEncodingComposites, ComeBackFromTheWriter) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  CompositeElem written(camera.get());
  written.addChild("size", new IntegerElem(3));
  const ParsedText text(response(written));
  const std::unique_ptr<Element> made(XMLEncoding::deSerializeElement(text.first()));
  EXPECT_EQ(treeOf(made.get()), "root.sys.class.Camera{size: 3}");
}

class MissingEnclosure : public testing::TestWithParam<std::string> {};

TEST_P(MissingEnclosure, LetsTheExceptionOfTheStoreOut) {
  const std::string inside = entry("b", "<ListElem>" + GetParam() + "</ListElem>");
  const std::string map = "<MapElem>" + entry("a", "<NullElem/>") + inside + "</MapElem>";
  const std::string outer = composite("globals", entry("a", "<NullElem/>") + entry("c", map));
  const std::string refused = decoded(GetParam());
  EXPECT_EQ(refused.substr(0, refused.find(':')), "NoSuchElementException");
  EXPECT_EQ(decoded(outer), refused);
  EXPECT_EQ(decodedInList(outer), refused);
  EXPECT_EQ(decodedInMap(outer), refused);
  EXPECT_EQ(decodedInComposite(outer), refused);
  EXPECT_EQ(decodedArgument(map), refused);
}
INSTANTIATE_TEST_SUITE_P(XMLEncodingComposites, MissingEnclosure,
                         testing::Values(composite("root.globals.none"), composite("none"), composite(""),
                                         "<CompositeElem/>", composite("globals.")));

TEST(XMLEncodingComposites, WithoutEnclosureAreWrittenButNotDecoded) {
  CompositeElem written(nullptr);
  const ParsedText text(response(written));
  EXPECT_THROW(XMLEncoding::deSerializeElement(text.first()), NoSuchElementException);
}

TEST(XMLEncodingComposites, HaveNoEnclosureInMissingNodes) {
  EXPECT_THROW(XMLEncoding::parseCompositeElem(nullptr), NoSuchElementException);
}

TEST(XMLEncodingComposites, LookTheEnclosureUpBeforeTheEntries) {
  EXPECT_EQ(decoded(composite("none", entry("a", composite("nobody")))),
            "NoSuchElementException: getChildRaw:nonenot found");
}

// Setters. Each receives the composite as context and the value as its only argument.

Element* kept = nullptr;

Element* accept(Element* /*context*/, ListElem* /*args*/) {
  static BooleanElem yes(true);
  return &yes;
}

Element* refuse(Element* /*context*/, ListElem* args) {
  static BooleanElem no(false);
  kept = args->getChildRaw(0U);
  return &no;
}

Element* keepElsewhere(Element* context, ListElem* args) {
  context->addChild("stored", args->getChildRaw(0U));
  return refuse(context, args);
}

Element* fail(Element* context, ListElem* args) {
  refuse(context, args);
  throw ObjectStoreException("no such size");
}

// Decodes a composite of a class with this setter for "size", where that is 3 and "colour" null.
std::string treeWithSetter(OperationElem::Function setter) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  camera->addChild("_set_size", new OperationElem(setter));
  return decoded(composite("root.sys.class.Camera",
                           entry("size", "<IntegerElem>3</IntegerElem>") + entry("colour", "<NullElem/>")));
}

TEST(XMLEncodingComposites, HoldWhatASetterAccepts) {
  EXPECT_EQ(treeWithSetter(accept), "root.sys.class.Camera{colour: null, size: 3}");
}

TEST(XMLEncodingComposites, DoNotHoldWhatASetterRefuses) {
  EXPECT_EQ(treeWithSetter(refuse), "root.sys.class.Camera{colour: null}");
  EXPECT_EQ(kept->intValue(), 3);
}

TEST(XMLEncodingComposites, LeaveAloneWhatASetterStoredItself) {
  EXPECT_EQ(treeWithSetter(keepElsewhere), "root.sys.class.Camera{colour: null, stored: 3}");
}

TEST(XMLEncodingComposites, LetTheExceptionOfASetterOut) {
  EXPECT_EQ(treeWithSetter(fail), "ObjectStoreException: no such size");
  EXPECT_EQ(kept->intValue(), 3);
}

TEST(XMLEncodingComposites, DeleteWhatASetterAcceptedAndTheSameKeyReplaces) {
  const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
  camera->addChild("_set_size", new OperationElem(accept));
  const std::string twice = entry("size", "<NullElem/>") + entry("size", "<IntegerElem>3</IntegerElem>");
  EXPECT_EQ(decoded(composite("root.sys.class.Camera", twice)), "root.sys.class.Camera{size: 3}");
}

}  // namespace
