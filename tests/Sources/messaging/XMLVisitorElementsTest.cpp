#include <gtest/gtest.h>

#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "MessageText.h"
#include "NullElem.h"
#include "OperationElem.h"
#include "StringElem.h"

namespace {

TEST(XMLVisitor, WritesIntegers) {
  EXPECT_EQ(response(IntegerElem(INT_MIN)), responseText("  <IntegerElem>-2147483648</IntegerElem>\n"));
  EXPECT_EQ(response(IntegerElem(INT_MAX)), responseText("  <IntegerElem>2147483647</IntegerElem>\n"));
}

TEST(XMLVisitor, WritesBooleans) {
  EXPECT_EQ(response(BooleanElem(true)), responseText("  <BooleanElem>true</BooleanElem>\n"));
  EXPECT_EQ(response(BooleanElem(false)), responseText("  <BooleanElem>false</BooleanElem>\n"));
}

TEST(XMLVisitor, WritesDoublesWithSixDecimalsAndNoExponent) {
  EXPECT_EQ(response(DoubleElem(0.5)), responseText("  <DoubleElem>0.500000</DoubleElem>\n"));
  EXPECT_EQ(response(DoubleElem(-1e21)),
            responseText("  <DoubleElem>-1000000000000000000000.000000</DoubleElem>\n"));
  EXPECT_EQ(response(DoubleElem(4e-7)), responseText("  <DoubleElem>0.000000</DoubleElem>\n"));
}

TEST(XMLVisitor, WritesADoubleInDoublePrecision) {
  EXPECT_EQ(response(DoubleElem(123456789.123456)),
            responseText("  <DoubleElem>123456789.123456</DoubleElem>\n"));
}

TEST(XMLVisitor, WritesEveryDoubleAsPrintfDoes) {
  for (const double value : {0.0, -0.0, 0.1, 2.5e-7, 0.0000005, 0.0000015, -1.0 / 3, 1e15 + 0.3, 9.9999995,
                             DBL_MAX, -DBL_MAX, DBL_MIN, DBL_TRUE_MIN, double{HUGE_VAL}, -HUGE_VAL}) {
    std::array<char, 400> expected;
    std::snprintf(expected.data(), expected.size(), "%f", value);
    EXPECT_EQ(response(DoubleElem(value)),
              responseText("  <DoubleElem>" + std::string(expected.data()) + "</DoubleElem>\n"));
  }
  EXPECT_EQ(response(DoubleElem(std::nan(""))), responseText("  <DoubleElem>nan</DoubleElem>\n"));
}

TEST(XMLVisitor, WritesStringsAsTheyAre) {
  EXPECT_EQ(response(StringElem("a <b> & \"c\"")),
            responseText("  <StringElem>a <b> & \"c\"</StringElem>\n"));
  EXPECT_EQ(response(StringElem("")), responseText("  <StringElem></StringElem>\n"));
  const std::string bytes("\r\n\0\xFF", 4);
  EXPECT_NE(response(StringElem(bytes)).find("<StringElem>" + bytes + "</StringElem>"), std::string::npos);
}

TEST(XMLVisitor, WritesAnEncodingAfterTwoBlanks) {
  EXPECT_EQ(response(StringElem("text", "UTF-8")),
            responseText("  <StringElem  encoding=\"UTF-8\">text</StringElem>\n"));
  EXPECT_EQ(response(StringElem("text", " ")),
            responseText("  <StringElem  encoding=\" \">text</StringElem>\n"));
}

TEST(XMLVisitor, WritesBytesInBase64) {
  const unsigned char bytes[] = {'M', 'a', 'n', 0xFF};
  EXPECT_EQ(response(BinaryElem(bytes, 4)), responseText("  <BinaryElem>TWFu/w==</BinaryElem>\n"));
  EXPECT_EQ(response(BinaryElem(bytes, 0)), responseText("  <BinaryElem></BinaryElem>\n"));
  EXPECT_EQ(response(BinaryElem(nullptr, 10)), responseText("  <BinaryElem></BinaryElem>\n"));
}

TEST(XMLVisitor, RefusesMoreBytesThanBase64CanCount) {
  auto* block = static_cast<unsigned char*>(std::malloc(1));
  BinaryElem announced(block, 0x80000000U, true);
  EXPECT_THROW(response(announced), std::length_error);
}

TEST(XMLVisitor, WritesNull) {
  EXPECT_EQ(response(NullElem()), responseText("  <NullElem/>\n"));
}

TEST(XMLVisitor, WritesEmptyContainersOnTwoLines) {
  EXPECT_EQ(response(ListElem()), responseText("  <ListElem>\n  </ListElem>\n"));
  EXPECT_EQ(response(MapElem()), responseText("  <MapElem>\n  </MapElem>\n"));
}

TEST(XMLVisitor, WritesListsInOrderOneLevelDeeper) {
  ListElem list;
  list.add("b")->add("a")->add(1)->add(true)->add(new ListElem);
  EXPECT_EQ(response(list), responseText(R"(
  <ListElem>
    <StringElem>b</StringElem>
    <StringElem>a</StringElem>
    <IntegerElem>1</IntegerElem>
    <BooleanElem>true</BooleanElem>
    <ListElem>
    </ListElem>
  </ListElem>
)"));
}

TEST(XMLVisitor, WritesMapsInOrderOfTheirNames) {
  auto* inner = new MapElem;
  inner->addChild("z", new NullElem);
  MapElem map;
  map.addChild("b", new IntegerElem(1));
  map.addChild("a", inner);
  map.addChild("B", new IntegerElem(2));
  EXPECT_EQ(response(map), responseText(R"(
  <MapElem>
    <child name="B">
      <IntegerElem>2</IntegerElem>
    </child>
    <child name="a">
      <MapElem>
        <child name="z">
          <NullElem/>
        </child>
      </MapElem>
    </child>
    <child name="b">
      <IntegerElem>1</IntegerElem>
    </child>
  </MapElem>
)"));
}

TEST(XMLVisitor, KeepsPrivateNamesToItself) {
  MapElem map;
  map.addChild("_", new IntegerElem(1));
  map.addChild("_secret", new IntegerElem(2));
  EXPECT_EQ(response(map), responseText("  <MapElem>\n  </MapElem>\n"));
  map.addChild("not_secret_", new IntegerElem(3));
  EXPECT_EQ(response(map), responseText(R"(
  <MapElem>
    <child name="not_secret_">
      <IntegerElem>3</IntegerElem>
    </child>
  </MapElem>
)"));
}

TEST(XMLVisitor, WritesAnEmptyNameAsAnEmptyAttribute) {
  MapElem map;
  map.addChild("", new NullElem);
  EXPECT_EQ(
      response(map),
      responseText("  <MapElem>\n    <child name=\"\">\n      <NullElem/>\n    </child>\n  </MapElem>\n"));
}

TEST(XMLVisitor, WritesNamesOfAnyLengthWhole) {
  for (const std::size_t length : {366U, 367U, 368U, 383U, 384U, 385U, 100000U}) {
    const std::string name(length, 'n');
    MapElem map;
    map.addChild(name, new StringElem("text", name));
    EXPECT_EQ(response(map),
              responseText("  <MapElem>\n    <child name=\"" + name + "\">\n      <StringElem  encoding=\"" +
                           name + "\">text</StringElem>\n    </child>\n  </MapElem>\n"))
        << length;
  }
}

TEST(XMLVisitor, SkipsElementsThatDispatchToNothing) {
  IntegerElem target(1);
  MapElem map;
  map.addChild("alias", new AliasElem(&target));
  map.addChild("lazy", new LazyEvalElem);
  map.addChild("operation", new OperationElem);
  EXPECT_EQ(response(map), responseText(R"(
  <MapElem>
    <child name="alias">
    </child>
    <child name="lazy">
    </child>
    <child name="operation">
    </child>
  </MapElem>
)"));
}

TEST(XMLVisitor, WritesNothingForAPersistentElement) {
  XMLVisitor visitor(1, 3);
  visitor.visitorAtPersistentElem(nullptr);
  EXPECT_EQ(dump(visitor), responseText(""));
}

TEST(XMLVisitor, WritesACompositeAndEverythingAfterItOneLevelDeeper) {
  MapElem root;
  auto* enclosure = new MapElem;
  enclosure->addChild("inherited", new IntegerElem(2));
  root.addChild("class", enclosure);
  CompositeElem composite(enclosure);
  composite.addChild("own", new IntegerElem(1));
  composite.addChild("_private", new IntegerElem(3));
  EXPECT_EQ(response(composite), lines(R"(
<?xml version="1.0"?>
<response requestID="3">
  <CompositeElem  enclosure=".class">
    <child name="own">
      <IntegerElem>1</IntegerElem>
    </child>
    </CompositeElem>
  </response>
)"));
}

TEST(XMLVisitor, DriftsOneLevelForEachCompositeInAList) {
  ListElem list;
  list.add(new CompositeElem(nullptr))->add(new CompositeElem(nullptr))->add(1);
  XMLVisitor visitor(5, 3, "one", "two", "");
  list.accept(&visitor);
  EXPECT_EQ(dump(visitor), lines(R"(
<?xml version="1.0"?>
<method name="callMethod" requestID="3">
  <arg name="objName">one</arg>
  <arg name="method">two</arg>
  <arg name="params">
  <ListElem>
    <CompositeElem  enclosure="">
      </CompositeElem>
      <CompositeElem  enclosure="">
        </CompositeElem>
        <IntegerElem>1</IntegerElem>
      </ListElem>
    </arg>
  </method>
)"));
}

TEST(XMLVisitor, DriftsOneLevelForEachOfNestedComposites) {
  CompositeElem composite(nullptr);
  composite.addChild("inner", new CompositeElem(&composite));
  EXPECT_EQ(response(composite), lines(R"(
<?xml version="1.0"?>
<response requestID="3">
  <CompositeElem  enclosure="">
    <child name="inner">
      <CompositeElem  enclosure="">
        </CompositeElem>
      </child>
      </CompositeElem>
    </response>
)"));
}

TEST(XMLVisitor, DriftsBehindACompositeInAMap) {
  MapElem map;
  map.addChild("a", new CompositeElem(nullptr));
  map.addChild("b", new NullElem);
  EXPECT_EQ(response(map), lines(R"(
<?xml version="1.0"?>
<response requestID="3">
  <MapElem>
    <child name="a">
      <CompositeElem  enclosure="">
        </CompositeElem>
      </child>
      <child name="b">
        <NullElem/>
      </child>
    </MapElem>
  </response>
)"));
}

TEST(XMLVisitor, LetsAFailureOfAnElementOut) {
  // An element that cannot give its value: here a child whose iterator throws.
  class Failing : public ListElem {
   public:
    using ListElem::iterator;
    ElementIterator* iterator(bool /*chain*/) override { throw NotSupportedException(); }
  };
  ListElem list;
  list.add(new Failing);
  EXPECT_THROW(response(list), NotSupportedException);
}

}  // namespace
