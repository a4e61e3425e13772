#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "Cancellation.h"

namespace {

using frontend::Cancellation;

struct CountingScan {
  void cancel() noexcept { ++cancels; }
  std::atomic<int> cancels{0};
};

TEST(Cancellation, WithoutAScanKeepsTheRequest) {
  Cancellation cancellation;
  EXPECT_FALSE(cancellation.requested());
  cancellation.request();
  cancellation.request();
  EXPECT_TRUE(cancellation.requested());
}

TEST(Cancellation, PassesEveryRequestOnToTheScan) {
  Cancellation cancellation;
  CountingScan scan;
  const Cancellation::Aim aim(cancellation, scan);
  EXPECT_EQ(scan.cancels, 0);
  cancellation.request();
  cancellation.request();
  EXPECT_EQ(scan.cancels, 2);
}

TEST(Cancellation, BringsARequestSinceTheBeginningToTheNewScan) {
  Cancellation cancellation;
  CountingScan scan;
  cancellation.reset();
  cancellation.request();
  const Cancellation::Aim aim(cancellation, scan);
  EXPECT_EQ(scan.cancels, 1);
}

TEST(Cancellation, ForgetsWhatWasRequestedOfTheScanBefore) {
  Cancellation cancellation;
  CountingScan scan;
  cancellation.request();
  cancellation.reset();
  const Cancellation::Aim aim(cancellation, scan);
  EXPECT_EQ(scan.cancels, 0);
  EXPECT_FALSE(cancellation.requested());
}

TEST(Cancellation, LetsGoOfAScanThatIsWithdrawn) {
  Cancellation cancellation;
  CountingScan scan;
  { const Cancellation::Aim aim(cancellation, scan); }
  cancellation.request();
  EXPECT_EQ(scan.cancels, 0);
}

// A scan whose cancel() cancels again, as a signal does that interrupts request() while it uses the aim.
struct CancellingScan {
  explicit CancellingScan(Cancellation& itsOwn) : cancellation(itsOwn) {}
  void cancel() noexcept {
    if (++cancels == 1) cancellation.request();
  }
  Cancellation& cancellation;
  int cancels = 0;
};

TEST(Cancellation, CanBeRequestedWhileARequestReachesTheScan) {
  Cancellation cancellation;
  CancellingScan scan(cancellation);
  std::optional<Cancellation::Aim> aim(std::in_place, cancellation, scan);
  cancellation.request();
  EXPECT_EQ(scan.cancels, 2);
  aim.reset();  // waits for no request: all have returned
}

// Under the address sanitizer a late cancel would be a use of freed memory.
TEST(Cancellation, TouchesNoScanThatIsGone) {
  Cancellation cancellation;
  std::atomic<bool> stop{false};
  std::thread canceller([&] {
    while (!stop) cancellation.request();
  });
  for (int i = 0; i < 20000; ++i) {
    cancellation.reset();
    auto scan = std::make_unique<CountingScan>();
    const Cancellation::Aim aim(cancellation, *scan);
  }
  stop = true;
  canceller.join();
}

// A timer whose signal interrupts the test twice a millisecond, wherever it is, and requests a cancel.
class CancellationInterrupted : public testing::Test {
 protected:
  CancellationInterrupted() {
    requestedFrom = &cancellation;
    interruptions = 0;
    struct sigaction action {};
    action.sa_handler = [](int) {
      if (!inside) return;
      requestedFrom.load()->request();
      ++interruptions;
    };
    sigaction(SIGALRM, &action, &before_);
    const itimerval halfAMillisecond{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &halfAMillisecond, nullptr);
  }
  ~CancellationInterrupted() override {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }

  // Calls `function` until it has been interrupted a good many times, and `check` after each call.
  void interrupt(const std::function<void()>& function, const std::function<void(bool interrupted)>& check) {
    while (interruptions < 100) {
      const int before = interruptions;
      inside = true;
      function();
      inside = false;
      check(interruptions != before);
    }
  }

  Cancellation cancellation;
  CountingScan scan;
  std::optional<Cancellation::Aim> aim;

 private:
  static inline std::atomic<Cancellation*> requestedFrom{nullptr};
  static inline std::atomic<bool> inside{false};
  static inline std::atomic<int> interruptions{0};
  struct sigaction before_ {};
};

TEST_F(CancellationInterrupted, TakingAnAimPassesTheRequestOn) {
  interrupt([this] { aim.emplace(cancellation, scan); },
            [this](bool interrupted) {
              EXPECT_GE(scan.cancels, interrupted ? 1 : 0);
              aim.reset();
              cancellation.reset();
              scan.cancels = 0;
            });
}

TEST_F(CancellationInterrupted, WithdrawingKeepsTheRequestForTheNextAim) {
  aim.emplace(cancellation, scan);
  interrupt([this] { aim.reset(); },
            [this](bool interrupted) {
              scan.cancels = 0;
              aim.emplace(cancellation, scan);
              EXPECT_EQ(scan.cancels, interrupted ? 1 : 0);
              cancellation.reset();
            });
}

TEST_F(CancellationInterrupted, RequestingReachesTheScanTwice) {
  aim.emplace(cancellation, scan);
  interrupt([this] { cancellation.request(); },
            [this](bool interrupted) {
              EXPECT_GE(scan.cancels, interrupted ? 2 : 1);
              scan.cancels = 0;
            });
  aim.reset();
}

// The request that interrupts means the scan before or the next one; either way the scan aimed at gets it.
TEST_F(CancellationInterrupted, ResettingStillReachesTheScanThatIsAimedAt) {
  aim.emplace(cancellation, scan);
  interrupt([this] { cancellation.reset(); },
            [this](bool interrupted) {
              EXPECT_GE(scan.cancels, interrupted ? 1 : 0);
              scan.cancels = 0;
            });
  aim.reset();
}

}  // namespace
