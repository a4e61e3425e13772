#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "IntegerElem.h"
#include "ListElem.h"
#include "MessageText.h"
#include "ParsedText.h"
#include "Reading.h"
#include "XMLEncoding.h"

namespace {

// A call with these arguments, as returned by its three kinds of lookup; "nothing" for null.
class Call {
 public:
  explicit Call(const std::string& arguments, int options = XML_PARSE_NOBLANKS)
      : text_("<method>" + arguments + "</method>", options) {}

  std::string string(const char* name) const {
    const char* text = XMLEncoding::parseStringArg(text_.first(), name);
    return text == nullptr ? "nothing" : text;
  }
  std::string element(const char* name) const {
    const std::unique_ptr<Element> made(XMLEncoding::parseElemArg(text_.first(), name));
    return treeOf(made.get());
  }
  std::string list(const char* name) const {
    const std::unique_ptr<ListElem> made(XMLEncoding::parseListElemArg(text_.first(), name));
    return treeOf(made.get());
  }

 private:
  ParsedText text_;
};

TEST(XMLEncodingArguments, AreFoundUnderTheirNames) {
  const Call call(
      "<arg name=\"objName\">one</arg><arg name=\"value\"><NullElem/></arg>"
      "<arg name=\"params\"><ListElem><IntegerElem>7</IntegerElem></ListElem></arg>");
  EXPECT_EQ(call.string("objName"), "one");
  EXPECT_EQ(call.element("value"), "null");
  EXPECT_EQ(call.list("params"), "[7]");
}

TEST(XMLEncodingArguments, AreAbsentUnderOtherNames) {
  const Call call("<arg name=\"objName\">one</arg>");
  EXPECT_EQ(call.string("objNam"), "nothing");
  EXPECT_EQ(call.string("objname"), "nothing");
  EXPECT_EQ(call.element("name"), "nothing");
  EXPECT_EQ(call.list(""), "[]");
}

TEST(XMLEncodingArguments, AreTheFirstOfEqualNames) {
  const Call call("<arg name=\"a\">one</arg><arg name=\"a\">two</arg>");
  EXPECT_EQ(call.string("a"), "one");
}

TEST(XMLEncodingArguments, AreKnownByTheirFirstAttributeAlone) {
  const Call call("<x y=\"a\" name=\"b\">one</x><arg name=\"b\">two</arg>");
  EXPECT_EQ(call.string("a"), "one");
  EXPECT_EQ(call.string("b"), "two");
}

TEST(XMLEncodingArguments, MayHaveAnEmptyName) {
  EXPECT_EQ(Call("<arg name=\"\">one</arg>").string(""), "one");
}

class EveryEndOfTheWalk : public testing::TestWithParam<const char*> {};

TEST_P(EveryEndOfTheWalk, HidesTheArgumentsBehindIt) {
  const std::string behind = "<arg name=\"b\"><ListElem><NullElem/></ListElem></arg>";
  const Call call("<arg name=\"a\">one</arg>" + std::string(GetParam()) + behind, 0);
  EXPECT_EQ(call.string("a"), "one");
  EXPECT_EQ(call.string("b"), "nothing");
  EXPECT_EQ(call.element("b"), "nothing");
  EXPECT_EQ(call.list("b"), "[]");
}
INSTANTIATE_TEST_SUITE_P(XMLEncodingArguments, EveryEndOfTheWalk,
                         testing::Values(" ", "\r\n  ", "text", "a longer text than pointers hold", "<arg/>",
                                         "<arg>b</arg>", "<!-- b -->", "<?b name=\"b\"?>", "<![CDATA[b]]>"));

TEST(XMLEncodingArguments, AreHiddenByABlankInFrontOfTheFirst) {
  const std::string arguments = "\r\n  <arg name=\"a\">one</arg>";
  EXPECT_EQ(Call(arguments, 0).string("a"), "nothing");
  EXPECT_EQ(Call(arguments, XML_PARSE_NOBLANKS).string("a"), "one");
}

TEST(XMLEncodingArguments, AreLookedUpFromTheGivenNodeOn) {
  const ParsedText text("<method><arg name=\"a\">one</arg><arg name=\"b\">two</arg></method>");
  EXPECT_EQ(XMLEncoding::parseStringArg(text.first()->next, "a"), nullptr);
  EXPECT_STREQ(XMLEncoding::parseStringArg(text.first()->next, "b"), "two");
}

TEST(XMLEncodingArguments, OfMissingNodesAreAbsent) {
  EXPECT_EQ(XMLEncoding::parseStringArg(nullptr, "a"), nullptr);
  EXPECT_EQ(XMLEncoding::parseElemArg(nullptr, "a"), nullptr);
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElemArg(nullptr, "a"));
  EXPECT_EQ(treeOf(list.get()), "[]");
}

TEST(XMLEncodingArguments, AreAbsentUnderANameThatIsMissing) {
  const Call call("<arg name=\"\">one</arg>");
  EXPECT_EQ(call.string(nullptr), "nothing");
}

TEST(XMLEncodingArguments, HaveTheTextOfTheDocument) {
  const ParsedText text("<method><arg name=\"a\"> one &amp; \xC3\xA4 </arg></method>");
  const char* found = XMLEncoding::parseStringArg(text.first(), "a");
  EXPECT_EQ(found, reinterpret_cast<const char*>(text.first()->children->content));
  EXPECT_STREQ(found, " one & \xC3\xA4 ");
}

struct Lookup {
  const char* argument;
  const char* string;
  const char* element;
  const char* list;
};

class EveryArgument : public testing::TestWithParam<Lookup> {};

TEST_P(EveryArgument, HasItsTextElementAndList) {
  const Call call(GetParam().argument);
  EXPECT_EQ(call.string("a"), GetParam().string);
  EXPECT_EQ(call.element("a"), GetParam().element);
  EXPECT_EQ(call.list("a"), GetParam().list);
}

const Lookup lookups[] = {
    {"<arg name=\"a\"/>", "nothing", "nothing", "[]"},
    {"<arg name=\"a\">text</arg>", "text", "nothing", "[]"},
    {"<arg name=\"a\"> </arg>", " ", "nothing", "[]"},
    {"<arg name=\"a\">text<ListElem><NullElem/></ListElem></arg>", "text", "nothing", "[]"},
    {"<arg name=\"a\">\r\n  <ListElem><NullElem/></ListElem>\r\n</arg>", "nothing", "[null]", "[null]"},
    {"<arg name=\"a\"><ListElem/><NullElem/></arg>", "nothing", "[]", "[]"},
    {"<arg name=\"a\"><StringElem>text</StringElem></arg>", "nothing", "\"text\"", "[]"},
    {"<arg name=\"a\"><MapElem><child name=\"b\"><NullElem/></child></MapElem></arg>", "nothing", "{b: null}",
     "[]"},
    {"<arg name=\"a\"><anything><NullElem/></anything></arg>", "nothing", "nothing", "[null]"},
    {"<arg name=\"a\"><![CDATA[<text>]]></arg>", "<text>", "nothing", "[]"},
};
INSTANTIATE_TEST_SUITE_P(XMLEncodingArguments, EveryArgument, testing::ValuesIn(lookups));

// What a host looks up, in each call that the writer can write with "one", "two", "three" and the list [7].
struct Written {
  int code;
  const char* name;
  const char* string;
  const char* list;
};

class EveryWrittenArgument : public testing::TestWithParam<Written> {};

TEST_P(EveryWrittenArgument, IsFound) {
  const auto& [code, name, string, list] = GetParam();
  XMLVisitor visitor(code, 3, "one", code == 6 ? "" : "two", "three");
  ListElem seven;
  seven.add(7);
  if (code >= 4 && code != 7 && code != 8) seven.accept(&visitor);
  const ParsedText text(dump(visitor));
  EXPECT_STREQ(XMLEncoding::parseStringArg(text.first(), name), string) << code << name;
  const std::unique_ptr<Element> element(XMLEncoding::parseElemArg(text.first(), name));
  EXPECT_EQ(treeOf(element.get()), list == nullptr ? "nothing" : list);
  const std::unique_ptr<ListElem> made(XMLEncoding::parseListElemArg(text.first(), name));
  EXPECT_EQ(treeOf(made.get()), list == nullptr ? "[]" : list);
}

const Written written[] = {
    {3, "objName", "one", nullptr},    {3, "attribName", "two", nullptr}, {4, "objName", "one", nullptr},
    {4, "attribName", "two", nullptr}, {4, "value", nullptr, "[7]"},      {5, "objName", "one", nullptr},
    {5, "method", "two", nullptr},     {5, "params", nullptr, "[7]"},     {6, "ruleName", "one", nullptr},
    {6, "params", nullptr, "[7]"},     {7, "objName", "one", nullptr},    {7, "event", "two", nullptr},
    {7, "observer", "three", nullptr}, {8, "objName", "one", nullptr},    {8, "event", "two", nullptr},
    {8, "observer", "three", nullptr}, {9, "className", "one", nullptr},  {9, "objName", "two", nullptr},
    {9, "params", nullptr, "[7]"},     {10, "observer", "one", nullptr},  {10, "objName", "two", nullptr},
    {10, "event", "three", nullptr},   {10, "data", nullptr, "[7]"},      {11, "objName", "one", nullptr},
    {11, "method", "two", nullptr},    {11, "params", nullptr, "[7]"},    {5, "value", nullptr, nullptr},
    {5, "three", nullptr, nullptr},
};
INSTANTIATE_TEST_SUITE_P(XMLEncodingArguments, EveryWrittenArgument, testing::ValuesIn(written));

}  // namespace
