#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "OperationElem.h"
#include "StringElem.h"

namespace {

const std::vector<std::string> allNames = {
    "Element",       "TerminalElem",  "NonterminalElem", "DataElem",  "IntegerElem",    "BooleanElem",
    "DoubleElem",    "StringElem",    "BinaryElem",      "NullElem",  "ListElem",       "MapElem",
    "CompositeElem", "OperationElem", "LazyEvalElem",    "AliasElem", "PersistentElem", "",
    "integerelem"};

std::set<std::string> classesOf(Element& element) {
  std::set<std::string> names;
  for (const std::string& name : allNames) {
    if (element.instanceOf(name)) names.insert(name);
  }
  return names;
}

TEST(InstanceOf, AcceptsTheClassAndItsBasesAndNothingElse) {
  const struct {
    std::shared_ptr<Element> element;
    std::set<std::string> expected;
  } rows[] = {
      {std::make_shared<IntegerElem>(1), {"IntegerElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<BooleanElem>(true), {"BooleanElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<DoubleElem>(1), {"DoubleElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<StringElem>("x"), {"StringElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<BinaryElem>(nullptr, 0), {"BinaryElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<NullElem>(), {"NullElem", "DataElem", "TerminalElem", "Element"}},
      {std::make_shared<ListElem>(), {"ListElem", "NonterminalElem", "Element"}},
      {std::make_shared<MapElem>(), {"MapElem", "NonterminalElem", "Element"}},
      {std::make_shared<CompositeElem>(nullptr), {"CompositeElem", "MapElem", "NonterminalElem", "Element"}},
      // Operations have no class name.
      {std::make_shared<OperationElem>(), {"TerminalElem", "Element"}},
      {std::make_shared<LazyEvalElem>(), {"TerminalElem", "Element"}},
  };
  for (const auto& row : rows) EXPECT_EQ(classesOf(*row.element), row.expected);
}

TEST(InstanceOf, AnswersForTheTargetOfAnAlias) {
  MapElem map;
  AliasElem alias(&map);
  AliasElem aliasOfAlias(&alias);
  const std::set<std::string> expected = {"MapElem", "NonterminalElem", "Element"};
  EXPECT_EQ(classesOf(alias), expected);
  EXPECT_EQ(classesOf(aliasOfAlias), expected);
}

TEST(InstanceOf, ComparesWithTheClassNames) {
  EXPECT_EQ(Element::_type, "Element");
  EXPECT_EQ(TerminalElem::_type, "TerminalElem");
  EXPECT_EQ(NonterminalElem::_type, "NonterminalElem");
  EXPECT_EQ(DataElem::_type, "DataElem");
  EXPECT_EQ(IntegerElem::_type, "IntegerElem");
  EXPECT_EQ(BooleanElem::_type, "BooleanElem");
  EXPECT_EQ(DoubleElem::_type, "DoubleElem");
  EXPECT_EQ(StringElem::_type, "StringElem");
  EXPECT_EQ(BinaryElem::_type, "BinaryElem");
  EXPECT_EQ(NullElem::_type, "NullElem");
  EXPECT_EQ(ListElem::_type, "ListElem");
  EXPECT_EQ(MapElem::_type, "MapElem");
  EXPECT_EQ(CompositeElem::_type, "CompositeElem");
}

}  // namespace
