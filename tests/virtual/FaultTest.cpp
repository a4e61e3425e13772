#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "Fault.h"
#include "FaultPlan.h"

namespace virtualscanner {
namespace {

TEST(FaultTable, NamesEveryKindOnceInTheOrderOfTheEnumeration) {
  std::set<std::string_view> names;
  std::size_t index = 0;
  for (const FaultDescription& description : faultTable()) {
    EXPECT_EQ(static_cast<std::size_t>(description.kind), index++);
    EXPECT_EQ(&describe(description.kind), &description);
    EXPECT_FALSE(description.effect.empty());
    EXPECT_FALSE(description.positionCounts.empty());
    names.insert(description.name);
  }
  EXPECT_EQ(names.size(), static_cast<std::size_t>(FaultKind::silence) + 1);
}

TEST(ParseFault, TakesANameWithOrWithoutAPosition) {
  for (const FaultDescription& description : faultTable()) {
    const std::string name(description.name);
    EXPECT_EQ(parseFault(name), (Fault{description.kind, description.defaultPosition}));
    for (const char* separator : {":", "@"}) {
      EXPECT_EQ(parseFault(name + separator + "4294967295"), (Fault{description.kind, 0xFFFFFFFF}));
      EXPECT_EQ(parseFault(name + separator + "0"), (Fault{description.kind, 0}));
    }
  }
}

TEST(ParseFault, RejectsEverythingElse) {
  for (const char* text :
       {"",        "@",        "@3",       "stal",     "stalls",           "Stall",     "stall@",
        "stall@x", "stall@1x", "stall@-1", "stall@ 1", "stall@4294967296", "stall@1@2", ":",
        ":3",      "stall:",   "stall:x",  "stall:-1", "stall:4294967296", "stall:1:2", "stall:@1",
        "stall@:1"}) {
    EXPECT_EQ(parseFault(text), std::nullopt) << text;
  }
}

TEST(TextOfAFault, IsItsNameAndPositionAsTheyAreRead) {
  EXPECT_EQ(textOf({FaultKind::shortWrite, 2}), "short-write:2");
  for (const FaultDescription& description : faultTable()) {
    const Fault fault{description.kind, 4294967295};
    EXPECT_EQ(parseFault(textOf(fault)), fault);
  }
}

FaultPlan planOf(std::vector<Fault> faults) {
  FaultPlan plan;
  plan.set(std::move(faults));
  return plan;
}

TEST(FaultPlan, ReportsAFaultOnceAtItsTransfer) {
  FaultPlan plan = planOf({{FaultKind::stall, 2}, {FaultKind::timeOut, 3}});
  EXPECT_EQ(plan.countTransfer(), std::nullopt);
  EXPECT_EQ(plan.countTransfer(), FaultKind::stall);
  EXPECT_EQ(plan.countTransfer(), FaultKind::timeOut);
  EXPECT_EQ(plan.countTransfer(), std::nullopt);
  EXPECT_EQ(plan.transfers(), 4U);
}

TEST(FaultPlan, CountsAnewAfterARestartWithoutBringingUsedFaultsBack) {
  FaultPlan plan = planOf({{FaultKind::shortWrite, 1}, {FaultKind::shortWrite, 2}});
  EXPECT_TRUE(plan.countWrite());
  plan.restart();
  EXPECT_FALSE(plan.countWrite());
  EXPECT_TRUE(plan.countWrite());
}

TEST(FaultPlan, KeepsSilentForTheGivenNumberOfReads) {
  FaultPlan plan = planOf({{FaultKind::silence, 2}});
  EXPECT_TRUE(plan.countSilentRead());
  EXPECT_TRUE(plan.countSilentRead());
  EXPECT_FALSE(plan.countSilentRead());
}

TEST(FaultPlan, KeepsSilentForEverAtPositionZero) {
  FaultPlan plan = planOf({{FaultKind::silence, 0}});
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(plan.countSilentRead());
}

TEST(FaultPlan, SpendsTheFaultsOfAStreamOnTheFirstOne) {
  FaultPlan plan =
      planOf({{FaultKind::garbage, 5}, {FaultKind::truncatedImage, 7}, {FaultKind::wrongHeader, 2}});
  const StreamFaults first = plan.beginStream();
  EXPECT_EQ(first.garbageAfter, 5U);
  EXPECT_EQ(first.stopAfter, 7U);
  EXPECT_EQ(plan.takeWrongHeader(), 2U);
  const StreamFaults second = plan.beginStream();
  EXPECT_EQ(second.garbageAfter, std::nullopt);
  EXPECT_EQ(second.stopAfter, std::nullopt);
  EXPECT_EQ(plan.takeWrongHeader(), std::nullopt);
}

}  // namespace
}  // namespace virtualscanner
