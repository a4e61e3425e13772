#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "Exceptions.h"
#include "Reading.h"

namespace {

std::string resultOf(const std::string& element) {
  return treeRead("<response>" + element + "</response>");
}

std::string withResult(const std::string& tree) {
  return "{messageType: \"response\", requestID: \"\", result: " + tree + "}";
}

struct Value {
  const char* text;
  const char* tree;
};

std::ostream& operator<<(std::ostream& out, const Value& value) {
  return out << value.text;
}

class EveryValue : public testing::TestWithParam<Value> {};

TEST_P(EveryValue, IsReadAsItsElement) {
  EXPECT_EQ(resultOf(GetParam().text), withResult(GetParam().tree));
}

const Value integers[] = {
    {"<IntegerElem>0</IntegerElem>", "0"},
    {"<IntegerElem>-17</IntegerElem>", "-17"},
    {"<IntegerElem> 12</IntegerElem>", "12"},
    {"<IntegerElem>#1F</IntegerElem>", "31"},
    {"<IntegerElem>017</IntegerElem>", "17"},
    {"<IntegerElem>00x1F</IntegerElem>", "31"},
    {"<IntegerElem></IntegerElem>", "0"},
    {"<IntegerElem/>", "0"},
    {"<IntegerElem>4&#50;</IntegerElem>", "42"},
    {"<IntegerElem>4<!-- - -->2</IntegerElem>", "42"},
    {"<IntegerElem>99999999999999999999</IntegerElem>", "2147483647"},
    {"<IntegerElem>-99999999999999999999</IntegerElem>", "-2147483648"},
    {"<Integer>5</Integer>", "5"},
};
INSTANTIATE_TEST_SUITE_P(Integers, EveryValue, testing::ValuesIn(integers));

const Value strings[] = {
    {"<StringElem>text</StringElem>", "\"text\""},
    {"<StringElem/>", "\"\""},
    {"<StringElem> \t </StringElem>", "\" \t \""},
    {"<StringElem>&lt;&amp;&gt;&#x41;</StringElem>", "\"<&>A\""},
    {"<StringElem><![CDATA[<a>&]]></StringElem>", "\"<a>&\""},
    {"<StringElem>a\r\nb\rc\nd</StringElem>", "\"a\nb\nc\nd\""},
    {"<StringElem  encoding=\"none\">text</StringElem>", "\"text\""},
    {"<StringElem>\xC3\xA4</StringElem>", "\"\xC3\xA4\""},
};
INSTANTIATE_TEST_SUITE_P(Strings, EveryValue, testing::ValuesIn(strings));

const Value booleans[] = {
    {"<BooleanElem>true</BooleanElem>", "true"},   {"<BooleanElem>YES</BooleanElem>", "true"},
    {"<BooleanElem>y</BooleanElem>", "true"},      {"<BooleanElem>1</BooleanElem>", "false"},
    {"<BooleanElem> true</BooleanElem>", "false"}, {"<BooleanElem/>", "false"},
};
INSTANTIATE_TEST_SUITE_P(Booleans, EveryValue, testing::ValuesIn(booleans));

const Value doubles[] = {
    {"<DoubleElem>0.5</DoubleElem>", "0.500000"},
    {"<DoubleElem> -2.25e2 and more</DoubleElem>", "-225.000000"},
    {"<DoubleElem>123456789.123456</DoubleElem>", "123456789.123456"},
    {"<DoubleElem>1,5</DoubleElem>", "1.000000"},
    {"<DoubleElem>0x10</DoubleElem>", "16.000000"},
    {"<DoubleElem>1e400</DoubleElem>", "inf"},
    {"<DoubleElem>-inf</DoubleElem>", "-inf"},
    {"<DoubleElem>1e-400</DoubleElem>", "0.000000"},
    {"<DoubleElem>abc</DoubleElem>", "0.000000"},
    {"<DoubleElem/>", "0.000000"},
};
INSTANTIATE_TEST_SUITE_P(Doubles, EveryValue, testing::ValuesIn(doubles));

const Value others[] = {
    {"<NullElem/>", "null"},
    {"<NullElem>text</NullElem>", "null"},
    {"<BinaryElem>TWFu/w==</BinaryElem>", "<4D616EFF>"},
    {"<BinaryElem>\r\n  TW Fu\r\n</BinaryElem>", "<4D616E>"},
    {"<BinaryElem>yw==</BinaryElem>", "<EF>"},
    {"<BinaryElem>TWF</BinaryElem>", "<>"},
    {"<BinaryElem/>", "<>"},
    {"<ListElem/>", "[]"},
    {"<MapElem></MapElem>", "{}"},
    {"<Mapping/>", "{}"},
};
INSTANTIATE_TEST_SUITE_P(Others, EveryValue, testing::ValuesIn(others));

const Value containers[] = {
    {"<ListElem><IntegerElem>2</IntegerElem> <ListElem/> <MapElem/><NullElem/></ListElem>",
     "[2, [], {}, null]"},
    {"<MapElem><child name=\"b\"><NullElem/></child> <child name=\"a\"><ListElem/></child></MapElem>",
     "{a: [], b: null}"},
    {"<MapElem><child name=\"_private\"><NullElem/></child></MapElem>", "{_private: null}"},
    {"<MapElem><child name=\"a\">\r\n  text\r\n</child></MapElem>", "{}"},
    {"<MapElem><child name=\"a\"/></MapElem>", "{}"},
    {"<MapElem><child name=\"a\"><IntegerElem>1</IntegerElem><NullElem/></child></MapElem>", "{a: null}"},
    {"<MapElem><child name=\"a\"><NullElem/></child><child name=\"a\"><ListElem/></child></MapElem>",
     "{a: []}"},
    {"<MapElem><child><NullElem/></child></MapElem>", "{: null}"},
    {"<MapElem><child Name=\"a\"><NullElem/></child></MapElem>", "{: null}"},
    {"<MapElem><IntegerElem name=\"a\">1</IntegerElem></MapElem>", "{: 1}"},
    {"<MapElem><arg name=\"a\">text</arg></MapElem>", "{a: \"text\"}"},
    {"<ListElem><arg name=\"a\">text</arg><child><NullElem/></child></ListElem>", "[\"text\", null]"},
    {"<child name=\"a\"><IntegerElem>1</IntegerElem></child>", "1"},
    {"<arg/>", "\"\""},
    {"<arg>  <IntegerElem>1</IntegerElem> text </arg>", "1"},
    {"<arg><arg>inner</arg></arg>", "\"inner\""},
    {"<arg><child>nothing</child>text</arg>", "\"text\""},
    {"<NullElem/><IntegerElem>1</IntegerElem>", "1"},
};
INSTANTIATE_TEST_SUITE_P(Containers, EveryValue, testing::ValuesIn(containers));

const Value dropped[] = {
    {"<IntegerElem>1<StringElem>x</StringElem>2</IntegerElem>", "12"},
    {"<StringElem>a<ListElem><NullElem/></ListElem>b</StringElem>", "\"ab\""},
    {"<NullElem><MapElem/></NullElem>", "null"},
    {"<ListElem><CompositeElem  enclosure=\"root\"><child name=\"a\"><NullElem/></child>"
     "<ListElem><IntegerElem>1</IntegerElem></ListElem></CompositeElem></ListElem>",
     "[]"},
    {"<ListElem>text<child>text</child></ListElem>", "[]"},
};
INSTANTIATE_TEST_SUITE_P(Dropped, EveryValue, testing::ValuesIn(dropped));

TEST(XMLSAXParser, KeepsTextOfAnyLength) {
  const std::string text = std::string(3000000, 'x') + "\n" + std::string(100000, 'y');
  EXPECT_EQ(resultOf("<StringElem>" + text + "</StringElem>"), withResult("\"" + text + "\""));
}

TEST(XMLSAXParser, KeepsAttributesOfAnyLength) {
  const std::string name(200000, 'n');
  EXPECT_EQ(resultOf("<MapElem><child name=\"" + name + "\"><NullElem/></child></MapElem>"),
            withResult("{" + name + ": null}"));
}

TEST(XMLSAXParser, ReadsAHundredThousandSiblings) {
  std::string list;
  for (int i = 0; i < 100000; ++i) list += "<NullElem/>";
  const Reading reading = read("<response><ListElem>" + list + "</ListElem></response>");
  EXPECT_EQ(reading.result->getChild("result")->getNumChildren(), 100000U);
}

TEST(XMLSAXParser, NamesWhatItPutsIntoMapsButNotWhatItAppendsToLists) {
  const Reading reading = read("<response><ListElem><NullElem/></ListElem></response>");
  Element* list = reading.result->getChild("result");
  EXPECT_EQ(list->getParent(), reading.result.get());
  EXPECT_EQ(list->getName(), "result");
  EXPECT_EQ(list->getChild(0U)->getParent(), nullptr);
  EXPECT_EQ(list->getChild(0U)->getName(), "");
}

class BadInteger : public testing::TestWithParam<const char*> {};

TEST_P(BadInteger, IsThrownOutOfTheReaderWithoutAWord) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::string message;
  try {
    readUncaptured("<response><ListElem><NullElem/><IntegerElem>" + std::string(GetParam()) +
                   "</IntegerElem><Dummy/></ListElem></response>");
  } catch (ValueConversionException& caught) {
    message = caught.getMessage();
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(message, "Illegal conversion");
}
INSTANTIATE_TEST_SUITE_P(XMLSAXParser, BadInteger,
                         testing::Values("abc", "12 ", "0x10", "0o7", "#G", "\r\n", "1.5", "4<NullElem/>x"));

}  // namespace
