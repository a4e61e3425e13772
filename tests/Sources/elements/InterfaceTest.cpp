#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "AliasElem.h"
#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "Element.h"
#include "ElementIterator.h"
#include "ElementVisitor.h"
#include "IntegerElem.h"
#include "LazyEvalElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "OperationElem.h"
#include "StringElem.h"

// The element interfaces as seen by the compiler and in the virtual tables.
namespace {

// Every overload can be called on every class: an override hides none of the others, and a literal 0
// is an index.
template <typename T>
concept HasTheWholeInterface = requires(T& element, Element* child, ListElem* args, std::string name,
                                        unsigned index) {
  { element.getChildRaw(0) } -> std::same_as<Element*>;
  { element.getChildRaw(index) } -> std::same_as<Element*>;
  { element.getChildRaw(name) } -> std::same_as<Element*>;
  { element.getChildRaw("x") } -> std::same_as<Element*>;
  { element.getChild(0) } -> std::same_as<Element*>;
  { element.getChild("x") } -> std::same_as<Element*>;
  { element.getChild(0, args) } -> std::same_as<Element*>;
  { element.getChild("x", args) } -> std::same_as<Element*>;
  { element.iterator() } -> std::same_as<ElementIterator*>;
  { element.iterator(false) } -> std::same_as<ElementIterator*>;
  { element.addChild("x", child) } -> std::same_as<Element*>;
  { element.addChild(0, child) } -> std::same_as<Element*>;
  { element.addChild(child, "x") } -> std::same_as<Element*>;
  { element.addChild(child, 0) } -> std::same_as<Element*>;
  { element.setChild("x", child) } -> std::same_as<Element*>;
  { element.setChild(0, child) } -> std::same_as<Element*>;
  { element.setChild(child, "x") } -> std::same_as<Element*>;
  { element.setChild(child, 0) } -> std::same_as<Element*>;
  { element.removeChild("x") } -> std::same_as<Element*>;
  { element.removeChild(0) } -> std::same_as<Element*>;
  { element.hasChild("x") } -> std::same_as<bool>;
  { element.hasChild(0) } -> std::same_as<bool>;
  { element.clone() } -> std::same_as<Element*>;
  { element.clone(child) } -> std::same_as<Element*>;
  { element.eval(child, args) } -> std::same_as<Element*>;
  { element.print("x") } -> std::same_as<void>;
  { element.print("", "x", child, 3) } -> std::same_as<void>;
};

template <typename T>
class EveryElement : public testing::Test {};
using Elements = testing::Types<Element, TerminalElem, NonterminalElem, DataElem, IntegerElem, BooleanElem,
                                DoubleElem, StringElem, BinaryElem, NullElem, ListElem, MapElem,
                                CompositeElem, AliasElem, OperationElem, LazyEvalElem>;
TYPED_TEST_SUITE(EveryElement, Elements);

TYPED_TEST(EveryElement, HidesNoOverload) {
  EXPECT_TRUE(HasTheWholeInterface<TypeParam>);
}

TYPED_TEST(EveryElement, IsDeletedThroughItsBase) {
  EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
}

TEST(CompositeElem, TakesALiteralZeroForAnIndex) {
  CompositeElem composite(nullptr);
  auto* const child = new IntegerElem(1);
  composite.addChild("0", child);
  EXPECT_EQ(composite.getChildRaw(0), child);
  EXPECT_EQ(composite.getChild(0), child);
  EXPECT_TRUE(composite.hasChild(0));
  EXPECT_EQ(composite.removeChild(0), child);
  delete child;
}

// The offset of a virtual operation in the table, as its member pointer holds it. Only
// distances are compared.
template <typename Operation>
std::intptr_t slot(Operation operation) {
  static_assert(std::is_member_function_pointer_v<Operation>);
  std::intptr_t words[2];
  static_assert(sizeof words == sizeof operation);
  std::memcpy(words, &operation, sizeof words);
  return words[0];
}

void expectConsecutive(const std::vector<std::intptr_t>& slots) {
  for (std::size_t i = 1; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i] - slots[i - 1], static_cast<std::intptr_t>(sizeof(void*))) << "operation " << i;
  }
}

template <typename Result, typename... Arguments>
auto overload(Result (Element::*operation)(Arguments...)) {
  return slot(operation);
}

TEST(Element, KeepsTheOrderOfItsVirtualOperations) {
  using Name = const std::string&;
  using Index = unsigned int;
  expectConsecutive({
      slot(&Element::eval),
      overload<Element*, Name>(&Element::getChildRaw),
      overload<Element*, Index>(&Element::getChildRaw),
      overload<ElementIterator*, bool>(&Element::iterator),
      overload<Element*, Name, Element*>(&Element::addChild),
      overload<Element*, Index, Element*>(&Element::addChild),
      overload<Element*, std::string, Element*>(&Element::setChild),
      overload<Element*, Index, Element*>(&Element::setChild),
      overload<Element*, Name>(&Element::removeChild),
      overload<Element*, Index>(&Element::removeChild),
      slot(&Element::removeChildren),
      slot(&Element::getNumChildren),
      slot(&Element::stringValue),
      slot(&Element::intValue),
      slot(&Element::booleanValue),
      slot(&Element::objectValue),
      slot(&Element::binaryValue),
      slot(&Element::binaryLength),
      slot(&Element::toString),
      slot(&Element::added),
      slot(&Element::removed),
      slot(&Element::getName),
      slot(&Element::getParent),
      overload<Element*>(&Element::clone),
      overload<Element*, Element*>(&Element::clone),
      slot(&Element::externalize),
      slot(&Element::accept),
      slot(&Element::instanceOf),
  });
}

TEST(ElementIterator, HoldsItsFiveOperationsAndNoDestructor) {
  expectConsecutive({
      slot(&ElementIterator::hasNext),
      slot(static_cast<Element* (ElementIterator::*)()>(&ElementIterator::next)),
      slot(static_cast<Element* (ElementIterator::*)(ListElem*)>(&ElementIterator::next)),
      slot(&ElementIterator::nextName),
      slot(&ElementIterator::nextIndex),
  });
  // The element's own table begins with the two slots of a virtual destructor; this one has none.
  EXPECT_EQ(slot(&Element::eval) - slot(&ElementIterator::hasNext),
            static_cast<std::intptr_t>(2 * sizeof(void*)));
  EXPECT_FALSE(std::has_virtual_destructor_v<ElementIterator>);
}

TEST(ElementVisitor, HoldsItsElevenOperationsInOrder) {
  expectConsecutive({
      slot(&ElementVisitor::visitorAtPersistentElem),
      slot(&ElementVisitor::visitorAtCompositeElem),
      slot(&ElementVisitor::visitorAtMapElem),
      slot(&ElementVisitor::visitorAtListElem),
      slot(&ElementVisitor::visitorAtIntegerElem),
      slot(&ElementVisitor::visitorAtBooleanElem),
      slot(&ElementVisitor::visitorAtDoubleElem),
      slot(&ElementVisitor::visitorAtStringElem),
      slot(&ElementVisitor::visitorAtBinaryElem),
      slot(&ElementVisitor::visitorAtNullElem),
      slot(&ElementVisitor::visitorAtObjectStoreException),
  });
  EXPECT_EQ(slot(&ElementVisitor::visitorAtPersistentElem), slot(&ElementIterator::hasNext));
}

}  // namespace
