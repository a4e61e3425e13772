#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>

#include "Exceptions.h"
#include "FailingAllocation.h"
#include "MessageText.h"
#include "Reading.h"
#include "XMLSAXParser.h"

namespace {

// A message with every kind of tag, ended by "</response>" and a line break.
std::string everyTag() {
  return responseText(R"(
  <MapElem>
    <child name="a name that needs memory of its own">
      <ListElem>
        <IntegerElem>-17</IntegerElem>
        <StringElem  encoding="none">a text that needs memory of its own</StringElem>
        <BooleanElem>true</BooleanElem>
        <DoubleElem>0.5</DoubleElem>
        <BinaryElem>TWFu</BinaryElem>
        <NullElem/>
        <CompositeElem  enclosure="root">
          <child name="x">
            <MapElem><child name="y"><NullElem/></child></MapElem>
          </child>
        </CompositeElem>
        <arg name="z">text</arg>
        <Dummy><IntegerElem>1</IntegerElem></Dummy>
      </ListElem>
    </child>
    <child name="a name that needs memory of its own">
      <ListElem><NullElem/></ListElem>
      <StringElem>the last value wins</StringElem>
    </child>
  </MapElem>
)");
}

const char* const everyTagTree =
    R"({messageType: "response", requestID: "3", result: {a name that needs memory of its own: )"
    R"("the last value wins"}})";

TEST(XMLSAXParser, ReadsEveryKindOfTag) {
  EXPECT_EQ(treeRead(everyTag()), everyTagTree);
}

TEST(XMLSAXParser, HasTheResultFromTheLastByteOfTheRootOn) {
  const std::string message = everyTag();
  const std::size_t end = message.find("</response>") + std::string("</response>").size();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (std::size_t length = 0; length <= message.size(); ++length) {
    const Reading reading = readUncaptured(message.substr(0, length));
    EXPECT_EQ(reading.status, 0) << length;
    EXPECT_EQ(treeOf(reading.result.get()), length < end ? "nothing" : everyTagTree) << length;
  }
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XMLSAXParser, ReadsEveryPrefixOfACallWithoutAResultUntilItsEnd) {
  XMLVisitor visitor(10, 3, "one", "two", "three");
  const std::string message = dump(visitor);
  const std::size_t end = message.find("</method>") + std::string("</method>").size();
  for (std::size_t length = 0; length <= message.size(); ++length) {
    const Reading reading = readUncaptured(message.substr(0, length));
    EXPECT_EQ(reading.status, 0) << length;
    EXPECT_EQ(reading.result == nullptr, length < end) << length;
  }
}

TEST(XMLSAXParser, TakesTheTextOfAFaultForTheResultUntilTheExceptionEnds) {
  const std::string message =
      lines("<exception requestID=\"3\">\n  <message>no such object</message>\n</exception>\n");
  const std::size_t inner = message.find("</message>") + std::string("</message>").size();
  const std::size_t outer = message.find("</exception>") + std::string("</exception>").size();
  for (std::size_t length = 0; length <= message.size(); ++length) {
    const char* expected = length < inner   ? "nothing"
                           : length < outer ? R"({messageType: "method", requestID: "", systemRule: ""})"
                                            : R"({messageType: "exception", requestID: "3"})";
    EXPECT_EQ(treeOf(readUncaptured(message.substr(0, length)).result.get()), expected) << length;
  }
}

TEST(XMLSAXParser, SurvivesEveryByteReplaced) {
  const std::string message = everyTag();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  int failures = 0;
  for (std::size_t i = 0; i < message.size(); ++i) {
    for (const char byte : {'<', '>', '/', '&', '"', 'x', '\0', '\xFF'}) {
      std::string changed = message;
      changed[i] = byte;
      try {
        failures += readUncaptured(changed).status == 0 ? 0 : 1;
      } catch (ValueConversionException&) {
        ++failures;
      }
    }
  }
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  EXPECT_GT(failures, static_cast<int>(message.size()));
}

struct Malformed {
  const char* message;
  const char* error;
};

TEST(XMLSAXParser, TellsWhatIsMalformedAndWhere) {
  const Malformed table[] = {
      {"<response>\r\n<ListElem>\r\n</MapElem>", "mismatched tag at line 3\n"},
      {"<response a=\"1\" a=\"2\"/>", "duplicate attribute at line 1\n"},
      {"\n\n<response>& </response>", "not well-formed (invalid token) at line 3\n"},
      {"<response>&unknown;</response>", "undefined entity at line 1\n"},
      {"no XML", "syntax error at line 1\n"},
  };
  for (const auto& [message, error] : table) {
    const Reading reading = read(message);
    EXPECT_EQ(reading.status, -1) << message;
    EXPECT_EQ(reading.standardError, error);
    EXPECT_EQ(reading.standardOutput, "");
    EXPECT_EQ(reading.result, nullptr);
  }
}

TEST(XMLSAXParser, KeepsARootThatEndedBeforeTheError) {
  const Reading reading = read("<response requestID=\"1\"/>\n<response requestID=\"2\"/>");
  EXPECT_EQ(reading.status, -1);
  EXPECT_EQ(reading.standardError, "junk after document element at line 2\n");
  EXPECT_EQ(treeOf(reading.result.get()), R"({messageType: "response", requestID: "1"})");
}

TEST(XMLSAXParser, RefusesANegativeLength) {
  XMLSAXParser parser;
  char text[] = "<response/>";
  testing::internal::CaptureStderr();
  EXPECT_EQ(parser.parseMessage(text, -1), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "invalid argument at line 1\n");
  EXPECT_EQ(parser.getResult(), nullptr);
}

TEST(XMLSAXParser, RefusesANullTextWithALength) {
  XMLSAXParser parser;
  testing::internal::CaptureStderr();
  EXPECT_EQ(parser.parseMessage(nullptr, 5), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "invalid argument at line 1\n");
}

TEST(XMLSAXParser, ReadsNothingFromNoBytes) {
  XMLSAXParser parser;
  char text[] = "<response/>";
  EXPECT_EQ(parser.parseMessage(text, 0), 0);
  EXPECT_EQ(parser.parseMessage(nullptr, 0), 0);
  EXPECT_EQ(parser.getResult(), nullptr);
}

// A response of so many tags in each other.
std::string nested(int tags, const std::string& innermost) {
  std::string open = "<response>";
  std::string close = "</response>";
  for (int i = 1; i < tags; ++i) {
    open += "\n<ListElem>";
    close = "</ListElem>" + close;
  }
  return open + innermost + close;
}

TEST(XMLSAXParser, ReadsAThousandTagsInEachOther) {
  EXPECT_EQ(treeRead(nested(1000, "text")), R"({messageType: "response", requestID: "", result: )" +
                                                std::string(999, '[') + std::string(999, ']') + "}");
  EXPECT_EQ(read(nested(999, "<NullElem/>")).status, 0);
}

TEST(XMLSAXParser, RefusesOneTagMore) {
  for (const std::string& message : {nested(1001, ""), nested(1000, "<NullElem/>")}) {
    const Reading reading = read(message);
    EXPECT_EQ(reading.status, -1);
    EXPECT_EQ(reading.result, nullptr);
    EXPECT_EQ(reading.standardOutput, "");
  }
  EXPECT_EQ(read(nested(1001, "")).standardError, "parsing aborted at line 1001\n");
  EXPECT_EQ(read(nested(1000, "<Dummy/>")).standardError, "parsing aborted at line 1000\n");
}

TEST(XMLSAXParser, RefusesAHundredThousandTagsInEachOther) {
  std::string message = "<response>";
  for (int i = 0; i < 100000; ++i) message += "<MapElem><child name=\"a\">";
  EXPECT_EQ(read(message).standardError, "parsing aborted at line 1\n");
}

TEST(XMLSAXParser, FreesWhatAMessageThatIsCutShortLeavesOpen) {
  std::string message = nested(500, "<MapElem><child name=\"a\"><ListElem><NullElem/></ListElem>");
  message.resize(message.find("</ListElem></ListElem>") + 11);
  const Reading reading = read(message);
  EXPECT_EQ(reading.status, 0);
  EXPECT_EQ(reading.result, nullptr);
}

TEST(XMLSAXParser, ExpandsEntitiesOfTheMessageItself) {
  EXPECT_EQ(treeRead("<!DOCTYPE response [<!ENTITY e '<IntegerElem>7</IntegerElem>'>]>"
                     "<response>&e;</response>"),
            R"({messageType: "response", requestID: "", result: 7})");
}

TEST(XMLSAXParser, ReadsNoEntityFromOutside) {
  EXPECT_EQ(
      treeRead("<!DOCTYPE response SYSTEM \"file:///dev/zero\" [<!ENTITY e SYSTEM \"file:///dev/zero\">]>"
               "<response><StringElem>a&e;b</StringElem></response>"),
      R"({messageType: "response", requestID: "", result: "ab"})");
}

TEST(XMLSAXParser, RefusesEntitiesThatGrowWithoutEnd) {
  std::string entities = "<!ENTITY e0 'ha ha ha ha'>";
  for (int i = 1; i < 20; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    entities += "<!ENTITY e" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) entities += inner;
    entities += "'>";
  }
  const Reading reading = read("<!DOCTYPE response [" + entities + "]><response><arg>&e19;</arg></response>");
  EXPECT_EQ(reading.status, -1);
  EXPECT_EQ(reading.result, nullptr);
  EXPECT_TRUE(reading.standardError.ends_with(" at line 1\n")) << reading.standardError;
}

TEST(XMLSAXParser, ThrowsAtEachAllocationThatFailsAndFreesEverything) {
  std::string message = everyTag();
  testing::internal::CaptureStdout();
  int failed = 0;
  bool done = false;
  while (!done) {
    XMLSAXParser parser;
    try {
      const FailingAllocation next(failed + 1);
      EXPECT_EQ(parser.parseMessage(message.data(), static_cast<int>(message.size())), 0);
      done = true;
    } catch (const std::bad_alloc&) {
      ++failed;
    }
    const std::unique_ptr<Element> result(parser.getResult());
    EXPECT_EQ(treeOf(result.get()), done ? everyTagTree : "nothing");
  }
  testing::internal::GetCapturedStdout();
  EXPECT_GT(failed, 50);
}

TEST(XMLSAXParser, ReadsOnAfterAMessageThatFailed) {
  std::string bad = "<IntegerElem>bad</IntegerElem>";
  std::string good = "<response requestID=\"1\"/>";
  XMLSAXParser parser;
  EXPECT_THROW(parser.parseMessage(bad.data(), static_cast<int>(bad.size())), ValueConversionException);
  EXPECT_EQ(parser.parseMessage(good.data(), static_cast<int>(good.size())), 0);
  const std::unique_ptr<Element> result(parser.getResult());
  EXPECT_EQ(treeOf(result.get()), R"({messageType: "response", requestID: "1"})");
}

}  // namespace
