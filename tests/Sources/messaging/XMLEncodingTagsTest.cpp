#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

#include "Decoding.h"
#include "ListElem.h"
#include "ParsedText.h"
#include "StringElem.h"
#include "XMLEncoding.h"

namespace {

// The result for a tag in each of its places; null if there is none.
struct Row {
  const char* tag;
  const char* alone;
  const char* inContainer;
  const char* asArgument;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
  return out << row.tag;
}

std::string orNothing(const char* tree) {
  return tree == nullptr ? "nothing" : tree;
}

class EveryTag : public testing::TestWithParam<Row> {};

TEST_P(EveryTag, IsDecodedAlone) {
  EXPECT_EQ(decoded(GetParam().tag), orNothing(GetParam().alone));
}

TEST_P(EveryTag, IsDecodedInAList) {
  const char* entry = GetParam().inContainer;
  EXPECT_EQ(decodedInList(GetParam().tag), entry == nullptr ? "[]" : std::string("[") + entry + "]");
}

TEST_P(EveryTag, IsDecodedInAMap) {
  const char* entry = GetParam().inContainer;
  EXPECT_EQ(decodedInMap(GetParam().tag), entry == nullptr ? "{}" : std::string("{key: ") + entry + "}");
}

TEST_P(EveryTag, IsDecodedInAComposite) {
  const char* entry = GetParam().inContainer;
  EXPECT_EQ(decodedInComposite(GetParam().tag),
            entry == nullptr ? "root.globals{}" : std::string("root.globals{key: ") + entry + "}");
}

TEST_P(EveryTag, IsDecodedAsAnArgument) {
  EXPECT_EQ(decodedArgument(GetParam().tag), orNothing(GetParam().asArgument));
}

constexpr const char* refused = "ValueConversionException: Illegal conversion";

const Row strings[] = {
    {"<StringElem>text</StringElem>", "\"text\"", "\"text\"", "\"text\""},
    {"<StringElem></StringElem>", "\"\"", "\"\"", "\"\""},
    {"<StringElem/>", "\"\"", "\"\"", "\"\""},
    {"<StringElem> \t </StringElem>", "\" \t \"", "\" \t \"", "\" \t \""},
    {"<StringElem>a\r\nb\rc</StringElem>", "\"a\nb\nc\"", "\"a\nb\nc\"", "\"a\nb\nc\""},
    {"<StringElem>&lt;&amp;&#228;</StringElem>", "\"<&\xC3\xA4\"", "\"<&\xC3\xA4\"", "\"<&\xC3\xA4\""},
    {"<StringElem  encoding=\"base64\">TWFu</StringElem>", "\"TWFu\"", "\"TWFu\"", "\"TWFu\""},
};
INSTANTIATE_TEST_SUITE_P(Strings, EveryTag, testing::ValuesIn(strings));

// The text of a tag is the content of its first node, whatever that is.
const Row firstNodes[] = {
    {"<StringElem><![CDATA[<a>]]></StringElem>", "\"<a>\"", "\"<a>\"", "\"<a>\""},
    {"<StringElem>a<![CDATA[b]]>c</StringElem>", "\"a\"", "\"a\"", "\"a\""},
    {"<StringElem>a<!-- b -->c</StringElem>", "\"a\"", "\"a\"", "\"a\""},
    {"<StringElem><!--a-->b</StringElem>", "\"a\"", "\"a\"", "\"a\""},
    {"<StringElem><?a b?>c</StringElem>", "\"b\"", "\"b\"", "\"b\""},
    {"<StringElem><?a?>c</StringElem>", "\"\"", "\"\"", "\"\""},
    {"<StringElem><b>text</b></StringElem>", "\"\"", "\"\"", "\"\""},
    {"<IntegerElem><NullElem/>5</IntegerElem>", "0", "0", "0"},
};
INSTANTIATE_TEST_SUITE_P(FirstNodes, EveryTag, testing::ValuesIn(firstNodes));

const Row integers[] = {
    {"<IntegerElem>0</IntegerElem>", "0", "0", "0"},
    {"<IntegerElem>-17</IntegerElem>", "-17", "-17", "-17"},
    {"<IntegerElem> +12</IntegerElem>", "12", "12", "12"},
    {"<IntegerElem>2147483647</IntegerElem>", "2147483647", "2147483647", "2147483647"},
    {"<IntegerElem>-2147483648</IntegerElem>", "-2147483648", "-2147483648", "-2147483648"},
    {"<IntegerElem>2147483648</IntegerElem>", "2147483647", "2147483647", "2147483647"},
    {"<IntegerElem>99999999999999999999</IntegerElem>", "2147483647", "2147483647", "2147483647"},
    {"<IntegerElem>-99999999999999999999</IntegerElem>", "-2147483648", "-2147483648", "-2147483648"},
    {"<IntegerElem>#1F</IntegerElem>", "31", "0", "0"},
    {"<IntegerElem>017</IntegerElem>", "17", "17", "17"},
    {"<IntegerElem>0017</IntegerElem>", "15", "17", "17"},
    {"<IntegerElem>-0x10</IntegerElem>", "-16", "0", "0"},
    {"<IntegerElem>0x10</IntegerElem>", refused, "0", "0"},
    {"<IntegerElem>12 </IntegerElem>", refused, "12", "12"},
    {"<IntegerElem>1.5</IntegerElem>", refused, "1", "1"},
    {"<IntegerElem>3 apples</IntegerElem>", refused, "3", "3"},
    {"<IntegerElem>abc</IntegerElem>", refused, "0", "0"},
    {"<IntegerElem></IntegerElem>", "0", "0", "0"},
    {"<IntegerElem/>", "0", "0", "0"},
};
INSTANTIATE_TEST_SUITE_P(Integers, EveryTag, testing::ValuesIn(integers));

const Row booleans[] = {
    {"<BooleanElem>true</BooleanElem>", "true", "true", "true"},
    {"<BooleanElem>false</BooleanElem>", "false", "false", "false"},
    {"<BooleanElem>yes</BooleanElem>", "false", nullptr, nullptr},
    {"<BooleanElem>True</BooleanElem>", "false", nullptr, nullptr},
    {"<BooleanElem> true</BooleanElem>", "false", nullptr, nullptr},
    {"<BooleanElem>truely</BooleanElem>", "false", nullptr, nullptr},
    {"<BooleanElem>1</BooleanElem>", "false", nullptr, nullptr},
    {"<BooleanElem/>", "false", nullptr, nullptr},
};
INSTANTIATE_TEST_SUITE_P(Booleans, EveryTag, testing::ValuesIn(booleans));

const Row doubles[] = {
    {"<DoubleElem>0.5</DoubleElem>", "0.500000", "0.500000", "0.500000"},
    {"<DoubleElem> -2.25e2 and more</DoubleElem>", "-225.000000", "-225.000000", "-225.000000"},
    {"<DoubleElem>123456789.123456</DoubleElem>", "123456789.123456", "123456789.123456", "123456789.123456"},
    {"<DoubleElem>1e400</DoubleElem>", "inf", "inf", "inf"},
    {"<DoubleElem>abc</DoubleElem>", "0.000000", "0.000000", "0.000000"},
    {"<DoubleElem/>", "0.000000", "0.000000", "0.000000"},
};
INSTANTIATE_TEST_SUITE_P(Doubles, EveryTag, testing::ValuesIn(doubles));

const Row containers[] = {
    {"<ListElem/>", "[]", "[]", "[]"},
    {"<ListElem><IntegerElem>#1</IntegerElem><BooleanElem>no</BooleanElem></ListElem>", "[0]", "[0]", "[0]"},
    {"<MapElem/>", "{}", "{}", "{}"},
    {"<MapElem><child name=\"a\"><IntegerElem>#1</IntegerElem></child>"
     "<child name=\"b\"><BooleanElem>no</BooleanElem></child></MapElem>",
     "{a: 0}", "{a: 0}", "{a: 0}"},
    {"<CompositeElem  enclosure=\"root.sys\"/>", "root.sys{}", "root.sys{}", nullptr},
    {"<CompositeElem  enclosure=\"root.sys\"><child name=\"a\"><IntegerElem>#1</IntegerElem></child>"
     "<child name=\"b\"><BooleanElem>no</BooleanElem></child></CompositeElem>",
     "root.sys{a: 0}", "root.sys{a: 0}", nullptr},
};
INSTANTIATE_TEST_SUITE_P(Containers, EveryTag, testing::ValuesIn(containers));

const Row others[] = {
    {"<NullElem/>", "null", "null", "null"},
    {"<NullElem>text</NullElem>", "null", "null", "null"},
    {"<BinaryElem>TWFu</BinaryElem>", nullptr, nullptr, nullptr},
    {"<BinaryElem/>", nullptr, nullptr, nullptr},
    {"<message>text</message>", nullptr, nullptr, nullptr},
    {"<child name=\"a\"><NullElem/></child>", nullptr, nullptr, nullptr},
    {"<ListElement/>", nullptr, nullptr, nullptr},
    {"<List/>", nullptr, nullptr, nullptr},
    {"<nullElem/>", nullptr, nullptr, nullptr},
    {"text", nullptr, nullptr, nullptr},
    {"<![CDATA[<NullElem/>]]>", nullptr, nullptr, nullptr},
    {"<!--NullElem-->", nullptr, nullptr, nullptr},
    {"<?IntegerElem 5?>", nullptr, nullptr, nullptr},
};
INSTANTIATE_TEST_SUITE_P(Others, EveryTag, testing::ValuesIn(others));

TEST(XMLEncoding, TakesNoEntityForATagOfItsName) {
  const ParsedText text("<!DOCTYPE m [<!ENTITY NullElem '<NullElem/>'>]><m>&NullElem;</m>");
  ASSERT_EQ(text.first()->type, XML_ENTITY_REF_NODE);
  EXPECT_EQ(XMLEncoding::deSerializeElement(text.first()), nullptr);
}

TEST(XMLEncoding, TakesNoDocumentForAContainer) {
  const ParsedText text("<ListElem><NullElem/></ListElem>");
  auto* document = reinterpret_cast<xmlNode*>(text.root()->doc);
  EXPECT_EQ(XMLEncoding::deSerializeElement(document), nullptr);
  const std::unique_ptr<ListElem> list(XMLEncoding::parseListElem(document));
  EXPECT_EQ(list->getNumChildren(), 0U);
}

TEST(XMLEncoding, DoesNotReadTheEncodingOfAString) {
  const ParsedText text("<StringElem  encoding=\"UTF-8\">text</StringElem>");
  const std::unique_ptr<Element> made(XMLEncoding::deSerializeElement(text.root()));
  EXPECT_EQ(dynamic_cast<StringElem&>(*made).encodingValue(), "");
}

TEST(XMLEncoding, KeepsTextOfAnyLength) {
  const std::string text(3000000, 'x');
  const ParsedText parsed("<StringElem>" + text + "</StringElem>", XML_PARSE_NOBLANKS | XML_PARSE_HUGE);
  const std::unique_ptr<Element> made(XMLEncoding::deSerializeElement(parsed.root()));
  EXPECT_EQ(made->stringValue(), text);
}

TEST(XMLEncoding, MakesNothingOfANodeThatIsMissing) {
  EXPECT_EQ(XMLEncoding::deSerializeElement(nullptr), nullptr);
}

}  // namespace
