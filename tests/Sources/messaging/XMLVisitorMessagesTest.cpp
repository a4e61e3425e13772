#include <gtest/gtest.h>

#include <climits>
#include <ostream>
#include <string>

#include "Exceptions.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "StringElem.h"
#include "XMLVisitor.h"

namespace {

struct Call {
  int code;
  // Whether the message has an open argument, which gets an element.
  bool visits;
  const char* message;
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << "code " << call.code;
}

class EveryCall : public testing::TestWithParam<Call> {};

TEST_P(EveryCall, IsWrittenByteForByte) {
  XMLVisitor visitor(GetParam().code, 3, "one", "two", "three");
  IntegerElem seven(7);
  if (GetParam().visits) seven.accept(&visitor);
  EXPECT_EQ(dump(visitor), lines(GetParam().message));
}

constexpr const char* untypedMethod = R"(
<?xml version="1.0"?>
<method name="" requestID="3">
  <arg name="">one</arg>
  <arg name="">two</arg>
</method>
)";

const Call calls[] = {
    {0, false, untypedMethod},
    {3, false, R"(
<?xml version="1.0"?>
<method name="getAttribute" requestID="3">
  <arg name="objName">one</arg>
  <arg name="attribName">two</arg>
</method>
)"},
    {4, true, R"(
<?xml version="1.0"?>
<method name="setAttribute" requestID="3">
  <arg name="objName">one</arg>
  <arg name="attribName">two</arg>
  <arg name="value">
  <IntegerElem>7</IntegerElem>
</arg>
</method>
)"},
    {5, true, R"(
<?xml version="1.0"?>
<method name="callMethod" requestID="3">
  <arg name="objName">one</arg>
  <arg name="method">two</arg>
  <arg name="params">
  <IntegerElem>7</IntegerElem>
</arg>
</method>
)"},
    {6, true, R"(
<?xml version="1.0"?>
<method name="callRule" requestID="3">
  <arg name="ruleName">one</arg>
  <arg name="params">two
  <IntegerElem>7</IntegerElem>
</arg>
</method>
)"},
    {7, false, R"(
<?xml version="1.0"?>
<method name="addObserver" requestID="3">
  <arg name="objName">one</arg>
  <arg name="event">two</arg>
  <arg name="observer">three</arg>
</method>
)"},
    {8, false, R"(
<?xml version="1.0"?>
<method name="removeObserver" requestID="3">
  <arg name="objName">one</arg>
  <arg name="event">two</arg>
  <arg name="observer">three</arg>
</method>
)"},
    {9, true, R"(
<?xml version="1.0"?>
<method name="instantiate" requestID="3">
  <arg name="className">one</arg>
  <arg name="objName">two</arg>
  <arg name="params">
  <IntegerElem>7</IntegerElem>
</arg>
</method>
)"},
    {10, true, R"(
<?xml version="1.0"?>
<method name="event">
  <arg name="observer">one</arg>
  <arg name="objName">two</arg>
  <arg name="event">three</arg>
  <arg name="data">
    <IntegerElem>7</IntegerElem>
  </arg>
</method>
)"},
    {11, true, R"(
<?xml version="1.0"?>
<method name="callVoidMethod" requestID="3">
  <arg name="objName">one</arg>
  <arg name="method">two</arg>
  <arg name="params">
  <IntegerElem>7</IntegerElem>
</arg>
</method>
)"},
};
INSTANTIATE_TEST_SUITE_P(XMLVisitor, EveryCall, testing::ValuesIn(calls),
                         [](const auto& test) { return "Code" + std::to_string(test.param.code); });

TEST(XMLVisitor, WritesAnyOtherCodeAsAnUntypedMethod) {
  for (const int code : {12, 13, 255, INT_MAX, -1, -5, INT_MIN}) {
    EXPECT_EQ(dump(XMLVisitor(code, 3, "one", "two", "three")), lines(untypedMethod)) << code;
  }
}

TEST(XMLVisitor, ClosesACallWithTheCodeOfAResponseLikeAResponse) {
  EXPECT_EQ(dump(XMLVisitor(1, 3, "one", "two", "three")), lines(R"(
<?xml version="1.0"?>
<method name="" requestID="3">
  <arg name="">one</arg>
  <arg name="">two</arg>
</response>
)"));
}

TEST(XMLVisitor, ClosesACallWithTheCodeOfAnExceptionLikeAnException) {
  EXPECT_EQ(dump(XMLVisitor(2, 3, "one", "two", "three")), lines(R"(
<?xml version="1.0"?>
<method name="" requestID="3">
  <arg name="">one</arg>
  <arg name="">two</arg>
</exception>
)"));
}

TEST(XMLVisitor, WritesACallWithItsParameters) {
  auto* parameters = new MapElem;
  parameters->addChild("resolution", new IntegerElem(300));
  ListElem list;
  list.add(parameters);
  XMLVisitor visitor(5, 3, "system", "enterHostUSBSendMode", "");
  list.accept(&visitor);
  EXPECT_EQ(dump(visitor), lines(R"(
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
)"));
}

TEST(XMLVisitor, WritesAResponse) {
  EXPECT_EQ(response(IntegerElem(0)), lines(R"(
<?xml version="1.0"?>
<response requestID="3">
  <IntegerElem>0</IntegerElem>
</response>
)"));
}

TEST(XMLVisitor, WritesAFaultAsAMessageInAnException) {
  XMLVisitor visitor(2, 3);
  NoSuchElementException fault("no <such> thing & none");
  fault.accept(&visitor);
  EXPECT_EQ(dump(visitor), lines(R"(
<?xml version="1.0"?>
<exception requestID="3">
  <message>no <such> thing & none</message>
</exception>
)"));
}

TEST(XMLVisitor, WritesEveryRequestIdInDecimal) {
  EXPECT_NE(dump(XMLVisitor(1, INT_MIN)).find("<response requestID=\"-2147483648\">"), std::string::npos);
  EXPECT_NE(dump(XMLVisitor(2, INT_MAX)).find("<exception requestID=\"2147483647\">"), std::string::npos);
  EXPECT_NE(dump(XMLVisitor(5, -1, "", "", "")).find("<method name=\"callMethod\" requestID=\"-1\">"),
            std::string::npos);
}

TEST(XMLVisitor, WritesOnlyThePrologueForAReplyOfAnotherCode) {
  const std::string prologue = "<?xml version=\"1.0\"?>\r\n";
  for (const int code : {0, 3, 7, 8, 12, INT_MAX, -1, INT_MIN}) {
    EXPECT_EQ(dump(XMLVisitor(code, 3)), prologue + "\r\n</method>\r\n") << code;
  }
  for (const int code : {4, 5, 6, 9, 10, 11}) {
    EXPECT_EQ(dump(XMLVisitor(code, 3)), prologue + "\r\n</arg>\r\n</method>\r\n") << code;
  }
}

TEST(XMLVisitor, IndentsNothingAtNegativeDepth) {
  XMLVisitor visitor(5, 3);
  dump(visitor);
  visitor.writeElementTag("<a>", true);
  ListElem list;
  list.add(1);
  list.accept(&visitor);
  EXPECT_TRUE(
      dump(visitor).ends_with("</method>\r\n\r\n<a>\r\n<ListElem>\r\n<IntegerElem>1</IntegerElem>\r\n</"
                              "ListElem>\r\n</arg>\r\n</method>\r\n"));
}

TEST(XMLVisitor, OpensARootOfAnyNameThatIsNeverClosed) {
  XMLVisitor visitor(std::string("root"));
  visitor.writeElementText("text");
  EXPECT_EQ(dump(visitor), "<?xml version=\"1.0\"?>\r\n<root>\r\ntext\r\n</method>\r\n");
}

TEST(XMLVisitor, WritesTagsAndTextOfItsCaller) {
  XMLVisitor visitor(1, 3);
  visitor.writeElementTag("<a>", true);
  visitor.writeElementText("x < y");
  visitor.writeElementTag("</a>", false);
  EXPECT_EQ(dump(visitor), responseText("  <a>x < y</a>\n"));
}

TEST(XMLVisitor, AppendsASecondSetOfClosingTagsWhenDumpedTwice) {
  XMLVisitor call(5, 3, "one", "two", "");
  const std::string first = dump(call);
  EXPECT_EQ(dump(call), first + "\r\n</arg>\r\n</method>\r\n");
  XMLVisitor reply(1, 3);
  EXPECT_EQ(dump(reply), "<?xml version=\"1.0\"?>\r\n<response requestID=\"3\">\r\n</response>\r\n");
  EXPECT_EQ(dump(reply),
            "<?xml version=\"1.0\"?>\r\n<response requestID=\"3\">\r\n</response>\r\n\r\n</response>\r\n");
}

TEST(XMLVisitor, HandsOutABlockOfItsOwnForEachDump) {
  XMLVisitor visitor(1, 3);
  char* first = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&first, &length);
  first[0] = '!';
  EXPECT_EQ(dump(visitor).front(), '<');
  std::free(first);
}

TEST(XMLVisitor, WritesNoMarkupDifferently) {
  const std::string hostile = "<&\"'>]]>\r\n\t\xFF";
  const std::string call = dump(XMLVisitor(7, 3, hostile, hostile, hostile));
  EXPECT_EQ(call, lines("<?xml version=\"1.0\"?>\n<method name=\"addObserver\" requestID=\"3\">\n") +
                      "  <arg name=\"objName\">" + hostile + "</arg>\r\n  <arg name=\"event\">" + hostile +
                      "</arg>\r\n  <arg name=\"observer\">" + hostile + "</arg>\r\n</method>\r\n");
}

TEST(XMLVisitor, KeepsEveryByteOfItsArguments) {
  const std::string withNul("a\0b", 3);
  const std::string call = dump(XMLVisitor(3, 3, withNul, std::string(100000, 'x'), ""));
  EXPECT_NE(call.find("<arg name=\"objName\">" + withNul + "</arg>"), std::string::npos);
  EXPECT_NE(call.find(">" + std::string(100000, 'x') + "</arg>"), std::string::npos);
}

}  // namespace
