#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CommaLocale.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "NullElem.h"
#include "ParsedText.h"
#include "Reading.h"
#include "StringElem.h"
#include "XMLEncoding.h"

namespace {

std::unique_ptr<MapElem> everyElement() {
  const unsigned char bytes[] = {0, 1, 2, 0xFE, 0xFF};
  auto* list = new ListElem;
  list->add(-1)->add("text")->add(false)->add(new ListElem)->add(new MapElem);
  auto map = std::make_unique<MapElem>();
  map->addChild("binary", new BinaryElem(bytes, 5));
  map->addChild("boolean", new BooleanElem(true));
  map->addChild("double", new DoubleElem(-123456789.015625));
  map->addChild("integer", new IntegerElem(2147483647));
  map->addChild("list", list);
  map->addChild("null", new NullElem);
  map->addChild("string", new StringElem("  text with blanks  ", "UTF-8"));
  return map;
}

std::string messageOf(const std::string& type, const std::string& tree) {
  return "{messageType: \"" + type + "\", requestID: \"3\", result: " + tree + "}";
}

TEST(RoundTrip, BringsEveryElementBack) {
  const auto map = everyElement();
  EXPECT_EQ(treeRead(response(*map)), messageOf("response", treeOf(map.get())));
}

TEST(RoundTrip, LosesPrivateNamesAndComposites) {
  auto map = everyElement();
  const std::string visible = treeOf(map.get());
  map->addChild("_private", new NullElem);
  auto* composite = new CompositeElem(nullptr);
  composite->addChild("x", new NullElem);
  map->addChild("composite", composite);
  EXPECT_EQ(treeRead(response(*map)), messageOf("response", visible));
}

TEST(RoundTrip, BringsTheCallsBack) {
  const char* trees[] = {
      R"({: "two", messageType: "method", requestID: "3", systemRule: ""})",
      R"({attribName: "two", messageType: "method", objName: "one", requestID: "3", systemRule: "getAttribute"})",
      R"({attribName: "two", messageType: "method", objName: "one", requestID: "3", systemRule: "setAttribute", value: [7]})",
      R"({messageType: "method", method: "two", objName: "one", params: [7], requestID: "3", systemRule: "callMethod"})",
      R"({messageType: "method", params: [7], requestID: "3", ruleName: "one", systemRule: "callRule"})",
      R"({event: "two", messageType: "method", objName: "one", observer: "three", requestID: "3", systemRule: "addObserver"})",
      R"({event: "two", messageType: "method", objName: "one", observer: "three", requestID: "3", systemRule: "removeObserver"})",
      R"({className: "one", messageType: "method", objName: "two", params: [7], requestID: "3", systemRule: "instantiate"})",
      R"({data: [7], event: "three", messageType: "method", objName: "two", observer: "one", requestID: "", systemRule: "event"})",
      R"({messageType: "method", method: "two", objName: "one", params: [7], requestID: "3", systemRule: "callVoidMethod"})",
  };
  const int codes[] = {0, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  ListElem list;
  list.add(7);
  for (std::size_t i = 0; i < std::size(codes); ++i) {
    XMLVisitor visitor(codes[i], 3, "one", "two", "three");
    const bool visits = codes[i] >= 4 && codes[i] != 7 && codes[i] != 8;
    if (visits) list.accept(&visitor);
    EXPECT_EQ(treeRead(dump(visitor)), trees[i]) << codes[i];
  }
}

TEST(RoundTrip, CannotReadMarkupInValues) {
  for (const char* value : {"a < b", "a & b", "</StringElem>", "]]>", "\xE4", "\x01"}) {
    const std::string message = response(StringElem(value));
    EXPECT_EQ(read(message).status, -1) << value;
    EXPECT_EQ(ParsedText(message).root(), nullptr) << value;
  }
}

TEST(RoundTrip, KeepsThePointOfDoublesInALocaleWithAComma) {
  std::string message;
  Reading reading;
  std::unique_ptr<Element> decoded;
  {
    const CommaLocale locale;
    ASSERT_TRUE(locale.holds());
    message = response(DoubleElem(1234.5));
    reading = read(message);
    const ParsedText text(message);
    decoded.reset(XMLEncoding::deSerializeElement(text.first()));
  }
  EXPECT_EQ(message, responseText("  <DoubleElem>1234.500000</DoubleElem>\n"));
  EXPECT_EQ(treeOf(reading.result.get()), messageOf("response", "1234.500000"));
  EXPECT_EQ(treeOf(decoded.get()), "1234.500000");
}

}  // namespace
