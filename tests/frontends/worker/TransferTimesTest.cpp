#include <gtest/gtest.h>

#include "TransferTimes.h"
#include "WorkerTimes.h"

namespace {

using frontend::TransferTimeouts;
using frontend::TransferTimes;
using namespace std::chrono_literals;

constexpr TransferTimeouts asked{15000, 60000};

class Times : public testing::Test {
 protected:
  std::chrono::steady_clock::time_point now;
  TransferTimes times{30000, 26'829'450, [this] { return now; }};
};

TEST_F(Times, OfACallAreThoseAskedForWithinTheTimeout) {
  EXPECT_EQ(times.forCall(asked).noDataMs, 15000U);
  EXPECT_EQ(times.forCall(asked).completionMs, 30000U);
  EXPECT_EQ(times.forCall({0, 0}).noDataMs, 30000U) << "never for ever";
  EXPECT_EQ(times.forCall({0, 0}).completionMs, 30000U);
}

TEST_F(Times, OfTheJobStreamAreShortSoThatItsEndIsNoticedSoon) {
  EXPECT_EQ(times.forJobStream(asked).noDataMs, 250U);
  EXPECT_EQ(times.forJobStream({100, 60000}).noDataMs, 100U);
  EXPECT_EQ(times.forJobStream(asked).completionMs, 30000U) << "a slow picture loses nothing";
}

TEST_F(Times, LeaveOnlyWhatSilenceHasLeft) {
  times.noteSilence(29900);
  EXPECT_EQ(times.forCall(asked).noDataMs, 100U);
  EXPECT_EQ(times.forJobStream(asked).noDataMs, 100U);
  EXPECT_FALSE(times.timedOut());
  times.noteSilence(100);
  EXPECT_TRUE(times.timedOut());
  EXPECT_EQ(times.forCall(asked).noDataMs, 1U) << "0 would be for ever";
  times.restart();
  EXPECT_EQ(times.forCall(asked).noDataMs, 15000U);
}

TEST_F(Times, LimitTheWholeJobByTheSizeOfThePicture) {
  const auto limit = 60s + 30s + 419210ms;  // 26,829,450 bytes at 64 a millisecond
  EXPECT_EQ(times.jobLimit(), limit);
  now += limit;
  EXPECT_FALSE(times.overdue());
  now += 1ms;
  EXPECT_TRUE(times.overdue());
  times.restart();
  EXPECT_TRUE(times.overdue()) << "a byte ends silence alone";
}

TEST_F(Times, CallAScannerQuietAfterOneSecond) {
  times.noteSilence(999);
  EXPECT_FALSE(times.quiet());
  times.noteSilence(1);
  EXPECT_TRUE(times.quiet());
}

TEST_F(Times, OfTheLastCallsAreSharedByAllOfThem) {
  times.beginLastCalls();
  EXPECT_EQ(times.forCall(asked).noDataMs, frontend::workertimes::finalCallsTimeout.count());
  now += 1s;
  EXPECT_EQ(times.forCall(asked).noDataMs, (frontend::workertimes::finalCallsTimeout - 1s).count());
  EXPECT_EQ(times.forCall(asked).completionMs, (frontend::workertimes::finalCallsTimeout - 1s).count());
  now += 10s;
  EXPECT_EQ(times.forCall(asked).noDataMs, 50U) << "each of them is tried";
}

}  // namespace
