#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ConnectionTable.h"

namespace {

using namespace frontend::share;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class Connections : public testing::Test {
 protected:
  const Clock::time_point start{1h};
  ConnectionTable table;
};

TEST_F(Connections, AreLimitedForEachAddress) {
  for (int i = 0; i < 16; ++i) {
    EXPECT_TRUE(table.admits("192.168.1.5"));
    table.open(i, "192.168.1.5", start);
  }
  EXPECT_FALSE(table.admits("192.168.1.5"));
  EXPECT_TRUE(table.admits("192.168.1.6"));
  table.close(3);
  EXPECT_TRUE(table.admits("192.168.1.5"));
}

TEST_F(Connections, AreLimitedInAll) {
  for (int i = 0; i < 64; ++i) table.open(i, std::to_string(i), start);
  EXPECT_FALSE(table.admits("192.168.1.6"));
}

TEST_F(Connections, AreOverdueOnceWhenTheirFirstRequestTakesTenSeconds) {
  table.open(7, "a", start);
  EXPECT_EQ(table.nextDeadline(), start + 10s);
  EXPECT_THAT(table.takeOverdue(start + 10s - 1ms), IsEmpty());
  EXPECT_THAT(table.takeOverdue(start + 10s), ElementsAre(7));
  EXPECT_THAT(table.takeOverdue(start + 11s), IsEmpty());
}

TEST_F(Connections, HaveTimeWhileTheyWaitForTheirResponse) {
  table.open(7, "a", start);
  table.requestArrived(7);
  EXPECT_EQ(table.nextDeadline(), std::nullopt);
  EXPECT_THAT(table.takeOverdue(start + 24h), IsEmpty());
}

TEST_F(Connections, MayStaySilentForAMinuteBetweenRequestsButNotDrip) {
  table.open(7, "a", start);
  table.requestArrived(7);
  table.responseSent(7, start + 5s);
  EXPECT_THAT(table.takeOverdue(start + 74s), IsEmpty());
  EXPECT_THAT(table.takeOverdue(start + 75s), ElementsAre(7));
}

TEST_F(Connections, ThatAreUnknownAreIgnored) {
  table.requestArrived(1);
  table.responseSent(1, start);
  table.close(1);
  EXPECT_EQ(table.size(), 0U);
}

}  // namespace
