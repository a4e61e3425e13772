#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>

#include "Decoding.h"
#include "Exceptions.h"
#include "FailingAllocation.h"
#include "ListElem.h"
#include "ParsedText.h"
#include "Reading.h"
#include "XMLEncoding.h"

namespace {

// Lists in each other, this many.
std::string nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<ListElem>";
  for (int i = 0; i < depth; ++i) text += "</ListElem>";
  return text;
}

constexpr int anyDepth = XML_PARSE_NOBLANKS | XML_PARSE_HUGE;

TEST(XMLEncodingFailures, DecodesAThousandLevels) {
  const ParsedText text(nested(1000), anyDepth);
  ASSERT_NE(text.root(), nullptr);
  const std::unique_ptr<Element> made(XMLEncoding::deSerializeElement(text.root()));
  EXPECT_EQ(treeOf(made.get()), std::string(1000, '[') + std::string(1000, ']'));
}

TEST(XMLEncodingFailures, RefusesALevelMore) {
  const ParsedText text(nested(1001), anyDepth);
  ASSERT_NE(text.root(), nullptr);
  EXPECT_THROW(XMLEncoding::deSerializeElement(text.root()), NotSupportedException);
  EXPECT_THROW(XMLEncoding::parseListElem(text.root()), NotSupportedException);
}

TEST(XMLEncodingFailures, CountsEveryKindOfContainer) {
  const std::string inside = "<child name=\"a\">" + nested(999) + "</child>";
  for (const std::string& tag : {std::string("MapElem"), std::string("CompositeElem enclosure=\"sys\"")}) {
    const std::string end = "</" + tag.substr(0, tag.find(' ')) + ">";
    const std::string fits = "<" + tag + ">" + inside + end;
    const ParsedText whole(fits, anyDepth);
    const std::unique_ptr<Element> made(XMLEncoding::deSerializeElement(whole.root()));
    EXPECT_NE(made, nullptr);
    const ParsedText tooDeep("<ListElem>" + fits + "</ListElem>", anyDepth);
    EXPECT_THROW(XMLEncoding::deSerializeElement(tooDeep.root()), NotSupportedException);
  }
}

TEST(XMLEncodingFailures, LeavesNothingBehindWhenAnAllocationFails) {
  const ParsedText text(
      "<ListElem><MapElem><child name=\"a name that needs memory of its own\">"
      "<StringElem>a text that needs memory of its own</StringElem></child>"
      "<child name=\"a name that needs memory of its own\"><IntegerElem>5</IntegerElem></child></MapElem>"
      "<CompositeElem enclosure=\"root.globals\"><child name=\"b\"><BooleanElem>true</BooleanElem></child>"
      "<child name=\"c\"><DoubleElem>0.5</DoubleElem></child></CompositeElem><NullElem/></ListElem>");
  int failures = 0;
  std::unique_ptr<Element> made;
  while (made == nullptr) {
    try {
      const FailingAllocation failing(failures + 1);
      made.reset(XMLEncoding::deSerializeElement(text.root()));
    } catch (const std::bad_alloc&) {
      ++failures;
    }
  }
  EXPECT_GT(failures, 20);
  EXPECT_EQ(treeOf(made.get()),
            "[{a name that needs memory of its own: 5}, root.globals{b: true, c: 0.500000}, null]");
}

}  // namespace
