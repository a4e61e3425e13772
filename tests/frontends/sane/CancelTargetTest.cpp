#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>

#include "CancelTarget.h"

namespace {

using frontend::CancelTarget;

struct CountingScan {
  void cancel() noexcept { ++cancels; }
  std::atomic<int> cancels{0};
};

TEST(CancelTarget, WithoutAScanKeepsTheRequest) {
  CancelTarget<CountingScan> target;
  EXPECT_FALSE(target.requested());
  target.request();
  target.request();
  EXPECT_TRUE(target.requested());
}

TEST(CancelTarget, PassesEveryRequestOnToTheScan) {
  CancelTarget<CountingScan> target;
  CountingScan scan;
  target.aim(&scan);
  EXPECT_EQ(scan.cancels, 0);
  target.request();
  target.request();
  EXPECT_EQ(scan.cancels, 2);
}

TEST(CancelTarget, BringsARequestSinceTheBeginningToTheNewScan) {
  CancelTarget<CountingScan> target;
  CountingScan scan;
  target.begin();
  target.request();
  target.aim(&scan);
  EXPECT_EQ(scan.cancels, 1);
}

TEST(CancelTarget, ForgetsWhatWasRequestedOfTheScanBefore) {
  CancelTarget<CountingScan> target;
  CountingScan scan;
  target.request();
  target.begin();
  target.aim(&scan);
  EXPECT_EQ(scan.cancels, 0);
  EXPECT_FALSE(target.requested());
}

TEST(CancelTarget, LetsGoOfAScanThatIsWithdrawn) {
  CancelTarget<CountingScan> target;
  CountingScan scan;
  target.aim(&scan);
  target.withdraw();
  target.request();
  EXPECT_EQ(scan.cancels, 0);
}

// Under the address sanitizer a late cancel would be a use of freed memory.
TEST(CancelTarget, TouchesNoScanThatIsGone) {
  CancelTarget<CountingScan> target;
  std::atomic<bool> stop{false};
  std::thread canceller([&] {
    while (!stop) target.request();
  });
  for (int i = 0; i < 20000; ++i) {
    target.begin();
    target.withdraw();
    auto scan = std::make_unique<CountingScan>();
    target.aim(scan.get());
    target.withdraw();
  }
  stop = true;
  canceller.join();
}

}  // namespace
