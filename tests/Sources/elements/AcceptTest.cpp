#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

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
#include "NullElem.h"
#include "OperationElem.h"
#include "RecordingVisitor.h"
#include "StringElem.h"

namespace {

template <typename T>
void expectVisit(T& element, const std::string& operation) {
  RecordingVisitor visitor;
  element.accept(&visitor);
  EXPECT_EQ(visitor.calls, (std::vector<RecordingVisitor::Call>{{operation, &element}})) << operation;
}

TEST(Accept, CallsTheOperationOfTheConcreteClassOnce) {
  IntegerElem integer(1);
  BooleanElem boolean(true);
  DoubleElem number(1.0);
  StringElem text("x");
  BinaryElem bytes(nullptr, 0);
  NullElem null;
  ListElem list;
  MapElem map;
  CompositeElem composite(&map);
  expectVisit(integer, "IntegerElem");
  expectVisit(boolean, "BooleanElem");
  expectVisit(number, "DoubleElem");
  expectVisit(text, "StringElem");
  expectVisit(bytes, "BinaryElem");
  expectVisit(null, "NullElem");
  expectVisit(list, "ListElem");
  expectVisit(map, "MapElem");
  expectVisit(composite, "CompositeElem");
}

TEST(Accept, LeavesTheChildrenToTheVisitor) {
  ListElem list;
  list.add(1)->add(2);
  expectVisit(list, "ListElem");
}

TEST(Accept, PassesOverAliasesAndOperations) {
  MapElem map;
  AliasElem alias(&map);
  OperationElem operation;
  LazyEvalElem lazy;
  RecordingVisitor visitor;
  alias.accept(&visitor);
  operation.accept(&visitor);
  lazy.accept(&visitor);
  EXPECT_TRUE(visitor.calls.empty());
}

TEST(Accept, ReachesTheExceptionOperationFromEveryExceptionClass) {
  ObjectStoreException base("why");
  NoSuchElementException derived(42);
  expectVisit(base, "ObjectStoreException");
  expectVisit(derived, "ObjectStoreException");
}

}  // namespace
