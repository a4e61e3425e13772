#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "Element.h"
#include "Exceptions.h"
#include "ListElem.h"
#include "MessageText.h"
#include "Reading.h"
#include "XMLSAXParser.h"

namespace {

TEST(XMLSAXParser, ReadsAResponse) {
  EXPECT_EQ(treeRead(lines(R"(
<?xml version="1.0"?>
<response requestID="3">
  <IntegerElem>0</IntegerElem>
</response>
)")),
            R"({messageType: "response", requestID: "3", result: 0})");
}

TEST(XMLSAXParser, ReadsACallWithItsArguments) {
  EXPECT_EQ(treeRead(lines(R"(
<?xml version="1.0"?>
<method name="callMethod" requestID="3">
  <arg name="objName">system</arg>
  <arg name="method">enterHostUSBSendMode</arg>
  <arg name="params">
  <ListElem>
    <MapElem>
      <child name="resolution">
        <IntegerElem>300</IntegerElem>
      </child>
    </MapElem>
  </ListElem>
</arg>
</method>
)")),
            R"({messageType: "method", method: "enterHostUSBSendMode", objName: "system", )"
            R"(params: [{resolution: 300}], requestID: "3", systemRule: "callMethod"})");
}

TEST(XMLSAXParser, KeepsTheRequestIdAsText) {
  EXPECT_EQ(treeRead("<response requestID=\" 0x7 \"/>"), R"({messageType: "response", requestID: " 0x7 "})");
}

TEST(XMLSAXParser, ReadsMissingAttributesAsEmpty) {
  EXPECT_EQ(treeRead("<method/>"), R"({messageType: "method", requestID: "", systemRule: ""})");
  EXPECT_EQ(treeRead("<response/>"), R"({messageType: "response", requestID: ""})");
  EXPECT_EQ(treeRead("<exception/>"), R"({messageType: "exception", requestID: ""})");
  EXPECT_EQ(treeRead("<method name=\"event\"><arg>x</arg></method>"),
            R"({: "x", messageType: "method", requestID: "", systemRule: "event"})");
}

TEST(XMLSAXParser, DropsTheTextOfAFault) {
  EXPECT_EQ(treeRead(lines(R"(
<?xml version="1.0"?>
<exception requestID="3">
  <message>no such object</message>
</exception>
)")),
            R"({messageType: "exception", requestID: "3"})");
}

TEST(XMLSAXParser, KeepsAnElementInsideAnException) {
  EXPECT_EQ(treeRead("<exception requestID=\"3\"><StringElem>why</StringElem></exception>"),
            R"({messageType: "exception", requestID: "3", result: "why"})");
}

TEST(XMLSAXParser, LetsTheMessageItselfReplaceArgumentsOfItsOwnNames) {
  EXPECT_EQ(treeRead("<method name=\"m\" requestID=\"1\"><arg name=\"messageType\">x</arg>"
                     "<arg name=\"requestID\">y</arg><arg name=\"systemRule\"><ListElem/></arg></method>"),
            R"({messageType: "method", requestID: "1", systemRule: "m"})");
}

TEST(XMLSAXParser, KeepsTheLastOfTwoArgumentsOfOneName) {
  EXPECT_EQ(treeRead("<method><arg name=\"a\">1</arg><arg name=\"a\"><ListElem/></arg></method>"),
            R"({a: [], messageType: "method", requestID: "", systemRule: ""})");
}

TEST(XMLSAXParser, PutsABareElementOfAMethodUnderTheEmptyName) {
  EXPECT_EQ(treeRead("<method><IntegerElem>1</IntegerElem></method>"),
            R"({: 1, messageType: "method", requestID: "", systemRule: ""})");
}

TEST(XMLSAXParser, NeverAttachesAMessageToATagAroundIt) {
  EXPECT_EQ(treeRead("<response requestID=\"1\"><ListElem><response requestID=\"2\"><NullElem/></response>"
                     "</ListElem></response>"),
            R"({messageType: "response", requestID: "1", result: []})");
  EXPECT_EQ(treeRead("<ListElem><method name=\"m\"/><NullElem/></ListElem>"),
            R"({messageType: "method", requestID: "", systemRule: "m"})");
}

TEST(XMLSAXParser, HasNoResultWithoutAMessageRoot) {
  for (const char* text :
       {"<IntegerElem>1</IntegerElem>", "<ListElem><NullElem/></ListElem>", "<MapElem/>", "<arg>text</arg>",
        "<child/>", "<CompositeElem/>", "<BinaryElem>TWFu</BinaryElem>"}) {
    const Reading reading = read(text);
    EXPECT_EQ(reading.status, 0) << text;
    EXPECT_EQ(reading.result, nullptr) << text;
  }
}

TEST(XMLSAXParser, TellsEachUnknownTagAndDropsWhatItHolds) {
  const Reading reading = read(
      "<response><Dummy><ListElem><x/></ListElem></Dummy><IntegerElem>1</IntegerElem>"
      "<Dummy><IntegerElem>2</IntegerElem></Dummy></response>");
  EXPECT_EQ(reading.standardOutput, "UNKNOWN TYPE\r\nUNKNOWN TYPE\r\nUNKNOWN TYPE\r\n");
  EXPECT_EQ(reading.standardError, "");
  EXPECT_EQ(treeOf(reading.result.get()), R"({messageType: "response", requestID: "", result: 1})");
}

TEST(XMLSAXParser, SaysNothingOfComposites) {
  const Reading reading = read("<response><CompositeElem/></response>");
  EXPECT_EQ(reading.standardOutput, "");
  EXPECT_EQ(reading.standardError, "");
}

TEST(XMLSAXParser, KnowsTagsByTheirFirstTwoCharacters) {
  const std::map<std::string, int> types = {{"method", 1},   {"message", 1},
                                            {"me", 1},       {"response", 2},
                                            {"result", 2},   {"exception", 3},
                                            {"ex", 3},       {"arg", 4},
                                            {"area", 4},     {"child", 5},
                                            {"choice", 5},   {"ListElem", 6},
                                            {"Li", 6},       {"MapElem", 7},
                                            {"Mapping", 7},  {"IntegerElem", 8},
                                            {"Internal", 8}, {"StringElem", 9},
                                            {"Stop", 9},     {"BooleanElem", 10},
                                            {"Bo", 10},      {"DoubleElem", 11},
                                            {"Dog", 11},     {"NullElem", 13},
                                            {"Number", 13},  {"CompositeElem", 12},
                                            {"Color", 12},   {"BinaryElem", 14},
                                            {"Bit", 14},     {"Dummy", 0},
                                            {"listElem", 0}, {"LISTELEM", 0},
                                            {"Method", 0},   {"L", 0},
                                            {"m", 0},        {"", 0},
                                            {"\xC3\xA4", 0}, {" Li", 0}};
  for (const auto& [name, type] : types) EXPECT_EQ(XMLSAXParser::getElementType(name.c_str()), type) << name;
}

TEST(XMLSAXParser, CopiesAttributesSoThatTheLastOfEqualNamesWins) {
  std::map<std::string, std::string> attributes = {{"kept", "1"}, {"a", "old"}};
  const char* pairs[] = {"a", "2", "b", "", "a", "3", nullptr};
  EXPECT_EQ(XMLSAXParser::addAttributes(attributes, pairs), 0);
  EXPECT_EQ(attributes, (std::map<std::string, std::string>{{"a", "3"}, {"b", ""}, {"kept", "1"}}));
}

TEST(XMLSAXParser, HasNoResultBeforeItReads) {
  XMLSAXParser parser;
  EXPECT_EQ(parser.getResult(), nullptr);
}

TEST(XMLSAXParser, LeavesItsResultToTheCaller) {
  std::unique_ptr<Element> result;
  {
    std::string message = "<response requestID=\"3\"><NullElem/></response>";
    XMLSAXParser parser;
    parser.parseMessage(message.data(), static_cast<int>(message.size()));
    result.reset(parser.getResult());
    EXPECT_EQ(parser.getResult(), result.get());
  }
  EXPECT_EQ(treeOf(result.get()), R"({messageType: "response", requestID: "3", result: null})");
}

TEST(XMLSAXParser, DoesNotFreeAResultThatALaterRootReplaces) {
  std::string first = "<response requestID=\"1\"/>";
  std::string second = "<response requestID=\"2\"/>";
  XMLSAXParser parser;
  parser.parseMessage(first.data(), static_cast<int>(first.size()));
  const std::unique_ptr<Element> earlier(parser.getResult());
  parser.parseMessage(second.data(), static_cast<int>(second.size()));
  const std::unique_ptr<Element> later(parser.getResult());
  EXPECT_EQ(treeOf(earlier.get()), R"({messageType: "response", requestID: "1"})");
  EXPECT_EQ(treeOf(later.get()), R"({messageType: "response", requestID: "2"})");
}

TEST(XMLSAXParser, ReadsExactlyTheBytesGiven) {
  std::string message = "<response requestID=\"1\"/> < not XML";
  XMLSAXParser parser;
  EXPECT_EQ(parser.parseMessage(message.data(), 25), 0);
  const std::unique_ptr<Element> result(parser.getResult());
  EXPECT_EQ(treeOf(result.get()), R"({messageType: "response", requestID: "1"})");
  EXPECT_EQ(message, "<response requestID=\"1\"/> < not XML");
}

TEST(SAXCallbacks, BuildTheResultOfTheParserTheyAreGiven) {
  XMLSAXParser parser;
  const char* attributes[] = {"requestID", "3", nullptr};
  const char* none[] = {nullptr};
  SAXcharData(&parser, "before any tag", 14);
  SAXendElement(&parser, "response");
  SAXstartElement(&parser, "response", attributes);
  SAXstartElement(&parser, "StringElem", none);
  SAXcharData(&parser, "one, and more", 3);
  SAXcharData(&parser, "two", 3);
  SAXcharData(&parser, "none", 0);
  SAXcharData(&parser, "none", -1);
  SAXendElement(&parser, "StringElem");
  EXPECT_EQ(parser.getResult(), nullptr);
  SAXendElement(&parser, "response");
  const std::unique_ptr<Element> result(parser.getResult());
  EXPECT_EQ(treeOf(result.get()), R"({messageType: "response", requestID: "3", result: "onetwo"})");
}

TEST(SAXCallbacks, ThrowWhereNoParseIsRunning) {
  XMLSAXParser parser;
  const char* none[] = {nullptr};
  SAXstartElement(&parser, "IntegerElem", none);
  SAXcharData(&parser, "abc", 3);
  EXPECT_THROW(SAXendElement(&parser, "IntegerElem"), ValueConversionException);
}

TEST(SAXCallbacks, StayInsideTheirMemoryWhenStartAndEndDoNotAgree) {
  const char* none[] = {nullptr};
  const char* names[] = {"method",   "response", "arg",         "child",
                         "ListElem", "MapElem",  "IntegerElem", "NullElem"};
  for (const char* start : names) {
    for (const char* end : names) {
      XMLSAXParser parser;
      std::map<Element*, std::unique_ptr<Element>> results;
      SAXstartElement(&parser, "MapElem", none);
      SAXstartElement(&parser, start, none);
      for (int i = 0; i < 3; ++i) {
        SAXendElement(&parser, end);
        Element* result = parser.getResult();
        if (!results.contains(result)) results[result].reset(result);
      }
      const bool endsAMessage = end == names[0] || end == names[1];
      EXPECT_EQ(parser.getResult() != nullptr, endsAMessage) << start << " to " << end;
    }
  }
}

}  // namespace
