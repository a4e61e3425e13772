#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Decoding.h"
#include "ElementIterator.h"
#include "ListElem.h"
#include "MapElem.h"
#include "ParsedText.h"
#include "Reading.h"
#include "XMLEncoding.h"

namespace {

std::string treeOfList(const std::string& text, int options = XML_PARSE_NOBLANKS) {
  const ParsedText parsed(text, options);
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElem(parsed.root()));
  return treeOf(list.get());
}

std::string treeOfMap(const std::string& text, int options = XML_PARSE_NOBLANKS) {
  const ParsedText parsed(text, options);
  const std::unique_ptr<MapElem> map(XMLEncoding::parseMapElem(parsed.root()));
  return treeOf(map.get());
}

// Keeps blank text nodes.
constexpr int withBlanks = 0;

TEST(XMLEncodingLists, HoldTheSupportedEntriesInTheirOrder) {
  EXPECT_EQ(treeOfList("<ListElem><IntegerElem>2</IntegerElem><BinaryElem>TWFu</BinaryElem><ListElem/>"
                       "<BooleanElem>yes</BooleanElem><MapElem/><Dummy/><NullElem/></ListElem>"),
            "[2, [], {}, null]");
}

TEST(XMLEncodingLists, SkipTexts) {
  EXPECT_EQ(treeOfList("<ListElem> a <NullElem/> <!-- b --> <IntegerElem>1</IntegerElem> c </ListElem>"),
            "[null, 1]");
  EXPECT_EQ(treeOfList("<ListElem>\r\n  <NullElem/>\r\n</ListElem>", withBlanks), "[null]");
  EXPECT_EQ(treeOfList("<ListElem>\r\n</ListElem>"), "[]");
}

TEST(XMLEncodingLists, DoNotLookAtTheNameOfTheNode) {
  EXPECT_EQ(treeOfList("<anything><NullElem/></anything>"), "[null]");
}

TEST(XMLEncodingLists, DoNotSeeThroughWrappers) {
  EXPECT_EQ(treeOfList("<ListElem><child name=\"a\"><NullElem/></child></ListElem>"), "[]");
}

TEST(XMLEncodingLists, AppendWithoutNameAndParent) {
  const ParsedText parsed("<ListElem><NullElem/></ListElem>");
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElem(parsed.root()));
  EXPECT_EQ(list->getChildRaw(0U)->getName(), "");
  EXPECT_EQ(list->getChildRaw(0U)->getParent(), nullptr);
  EXPECT_EQ(list->getParent(), nullptr);
}

TEST(XMLEncodingLists, OfMissingNodesAreEmpty) {
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElem(nullptr));
  EXPECT_EQ(treeOf(list.get()), "[]");
}

TEST(XMLEncodingLists, HoldAHundredThousandEntries) {
  std::string text = "<ListElem>";
  for (int i = 0; i < 100000; ++i) text += "<NullElem/>";
  const ParsedText parsed(text + "</ListElem>");
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElem(parsed.root()));
  EXPECT_EQ(list->getNumChildren(), 100000U);
}

struct MapText {
  const char* text;
  const char* tree;
};

class EveryMap : public testing::TestWithParam<MapText> {};

TEST_P(EveryMap, HoldsItsEntries) {
  EXPECT_EQ(treeOfMap(GetParam().text), GetParam().tree);
}

const MapText keys[] = {
    {"<MapElem><child name=\"b\"><NullElem/></child><child name=\"a\"><ListElem/></child></MapElem>",
     "{a: [], b: null}"},
    {"<anything><something name=\"a\"><NullElem/></something></anything>", "{a: null}"},
    {"<MapElem><child Anything=\"a\" name=\"b\"><NullElem/></child></MapElem>", "{a: null}"},
    {"<MapElem><child name=\"\"><NullElem/></child></MapElem>", "{: null}"},
    {"<MapElem><child><NullElem/></child></MapElem>", "{: null}"},
    {"<MapElem><child name=\"_private\"><NullElem/></child></MapElem>", "{_private: null}"},
    {"<MapElem><child name=\"a&lt;&amp;b\"><NullElem/></child></MapElem>", "{a<&b: null}"},
    {"<MapElem><child name=\"a\r\n\tb\"><NullElem/></child></MapElem>", "{a  b: null}"},
};
INSTANTIATE_TEST_SUITE_P(Keys, EveryMap, testing::ValuesIn(keys));

const MapText firstValues[] = {
    {"<MapElem><child name=\"a\"><IntegerElem>1</IntegerElem><NullElem/></child></MapElem>", "{a: 1}"},
    {"<MapElem><child name=\"a\"><BinaryElem>TWFu</BinaryElem><NullElem/></child></MapElem>", "{}"},
    {"<MapElem><child name=\"a\">text<NullElem/></child></MapElem>", "{}"},
    {"<MapElem><child name=\"a\"><!-- --><NullElem/></child></MapElem>", "{}"},
    {"<MapElem><child name=\"a\"/></MapElem>", "{}"},
    {"<MapElem>text</MapElem>", "{}"},
    {"<MapElem>\r\n</MapElem>", "{}"},
    {"<MapElem><NullElem name=\"a\"><NullElem/></NullElem></MapElem>", "{a: null}"},
    {"<MapElem><IntegerElem name=\"a\">1</IntegerElem></MapElem>", "{}"},
};
INSTANTIATE_TEST_SUITE_P(FirstValues, EveryMap, testing::ValuesIn(firstValues));

TEST(XMLEncodingMaps, MissTheEntriesWhoseValueFollowsABlankText) {
  const std::string text =
      "<MapElem>\r\n  <child name=\"a\">\r\n    <NullElem/>\r\n  </child>\r\n"
      "  <child name=\"b\"><NullElem/></child>\r\n</MapElem>";
  EXPECT_EQ(treeOfMap(text, withBlanks), "{b: null}");
  EXPECT_EQ(treeOfMap(text, XML_PARSE_NOBLANKS), "{a: null, b: null}");
}

TEST(XMLEncodingMaps, KeepTheLastOfEqualKeys) {
  EXPECT_EQ(treeOfMap("<MapElem><child name=\"a\"><NullElem/></child><child name=\"a\"><ListElem/></child>"
                      "<child name=\"a\"><BinaryElem/></child></MapElem>"),
            "{a: []}");
}

TEST(XMLEncodingMaps, NameTheirEntriesAndAreTheirParents) {
  const ParsedText parsed("<MapElem><child name=\"a\"><NullElem/></child></MapElem>");
  const std::unique_ptr<MapElem> map(XMLEncoding::parseMapElem(parsed.root()));
  EXPECT_EQ(map->getChildRaw("a")->getName(), "a");
  EXPECT_EQ(map->getChildRaw("a")->getParent(), map.get());
  EXPECT_EQ(map->getParent(), nullptr);
}

TEST(XMLEncodingMaps, OfMissingNodesAreEmpty) {
  const std::unique_ptr<MapElem> map(XMLEncoding::parseMapElem(nullptr));
  EXPECT_EQ(treeOf(map.get()), "{}");
}

// A text node stores a short text in the place of its attributes.
TEST(XMLEncodingMaps, ReadNoAttributesOfTexts) {
  const ParsedText parsed("<MapElem>short<child name=\"a\"><NullElem/></child>text</MapElem>");
  const std::unique_ptr<MapElem> map(XMLEncoding::parseMapElem(parsed.root()));
  EXPECT_EQ(treeOf(map.get()), "{a: null}");
}

}  // namespace
