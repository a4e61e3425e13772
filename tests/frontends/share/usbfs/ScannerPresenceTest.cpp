#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

#include "DeviceIdentity.h"
#include "ScannerPresence.h"
#include "UsbfsHost.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using share::ScannerPresence;
using testing::ElementsAre;

// Records what a ScannerPresence reports, and lets the test wait for it:
//
//   Reports reports;
//   ScannerPresence presence("usb", listed, reports.listener());
//   EXPECT_THAT(reports.first(2), ElementsAre("usb:1-1", ""));
class Reports {
 public:
  ScannerPresence::Listener listener() {
    return [this](const std::string& scanner) {
      const std::lock_guard lock(mutex_);
      seen_.push_back(scanner);
      changed_.notify_all();
    };
  }
  // All reports so far, as soon as there are at least this many.
  std::vector<std::string> first(std::size_t count) {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, 20s, [&] { return seen_.size() >= count; }));
    return seen_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> seen_;
};

class ScannerPresenceOnUsb : public UsbfsHost {
 protected:
  ScannerPresenceOnUsb() { setenv("LD_PRELOAD", Q750_PRELOAD, 1); }
  ~ScannerPresenceOnUsb() override { unsetenv("LD_PRELOAD"); }

  ScannerPresence::List list() {
    return [this] {
      ++looks_;
      ScannerSearch search(Q750_WORKER);
      const ScannerList list = listScanners(search, false);
      EXPECT_TRUE(list.outcome.good()) << list.outcome.sentence;
      return list.scanners;
    };
  }

  std::atomic<int> looks_{0};
  Reports reports_;
};

TEST_F(ScannerPresenceOnUsb, IsReportedAtTheBeginning) {
  plugIn();
  const ScannerPresence presence("", list(), reports_.listener());
  EXPECT_THAT(reports_.first(1), ElementsAre("usb:1-1"));
  EXPECT_EQ(presence.problem(), "");
}

TEST_F(ScannerPresenceOnUsb, AbsenceIsReportedAtTheBeginningToo) {
  plugIn();
  usbfs_->unplug();
  const ScannerPresence presence("", list(), reports_.listener());
  EXPECT_THAT(reports_.first(1), ElementsAre(""));
}

TEST_F(ScannerPresenceOnUsb, FollowsTheCableUnderTheSameName) {
  plugIn();
  const ScannerPresence presence("usb", list(), reports_.listener());
  EXPECT_THAT(reports_.first(1), ElementsAre("usb:1-1"));
  usbfs_->unplug();
  EXPECT_THAT(reports_.first(2), ElementsAre("usb:1-1", ""));
  usbfs_->plugIn();
  EXPECT_THAT(reports_.first(3), ElementsAre("usb:1-1", "", "usb:1-1"));
}

TEST_F(ScannerPresenceOnUsb, LooksOnlyWhenSomethingHappens) {
  plugIn();
  const ScannerPresence presence("usb:1-1", list(), reports_.listener());
  reports_.first(1);
  usbfs_->unplug();
  reports_.first(2);
  EXPECT_EQ(looks_, 2);
}

TEST_F(ScannerPresenceOnUsb, LeavesTheScannerInPeace) {
  plugIn();
  const ScannerPresence presence("", list(), reports_.listener());
  reports_.first(1);
  EXPECT_EQ(usbfs_->statistics().calls, 0U);
}

TEST_F(ScannerPresenceOnUsb, EndsWhileItWaits) {
  plugIn();
  for (int i = 0; i < 20; ++i) const ScannerPresence presence("", list(), reports_.listener());
  EXPECT_EQ(reports_.first(20).size(), 20U) << "each reported once";
}

}  // namespace
