#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "EmulatedUsbfs.h"
#include "FrontEnd.h"

namespace {

using testing::AnyOf;

std::atomic<SANE_Handle> signalledHandle;  // for the handler, null for a signal that does nothing
std::atomic<decltype(sane_cancel)*> signalledCancel;

void onSignal(int) {
  if (SANE_Handle handle = signalledHandle) signalledCancel.load()(handle);
}

// Handles signals without SA_RESTART: they interrupt what they can.
class Handler {
 public:
  Handler() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigaction(SIGUSR1, &action, &before_);
  }
  ~Handler() { sigaction(SIGUSR1, &before_, nullptr); }
  Handler(const Handler&) = delete;
  Handler& operator=(const Handler&) = delete;

 private:
  struct sigaction before_ {};
};

// Keeps a signal from the threads that are started meanwhile.
class Blocked {
 public:
  Blocked() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
  }
  ~Blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Blocked(const Blocked&) = delete;
  Blocked& operator=(const Blocked&) = delete;

 private:
  sigset_t before_{};
};

// Repeats an action in a separate thread.
class Storm {
 public:
  explicit Storm(std::function<void()> blow)
      : thread_([this, blow = std::move(blow)] {
          while (!over_) {
            blow();
            std::this_thread::yield();
          }
        }) {}
  ~Storm() {
    over_ = true;
    thread_.join();
  }
  Storm(const Storm&) = delete;
  Storm& operator=(const Storm&) = delete;

 private:
  std::atomic<bool> over_{false};
  std::thread thread_;
};

struct Scan {
  SANE_Status status = SANE_STATUS_GOOD;
  std::vector<std::uint8_t> page;
};

// The emulation of the USB, on which one scanner is, for all tests.
class SaneThreads : public FrontEnd {
 protected:
  static void SetUpTestSuite() {
    setenv("LD_PRELOAD", Q750_PRELOAD, 1);
    const Blocked signals;  // its threads are not the application's
    scanner_ = std::make_unique<virtualscanner::VirtualScanner>();
    usbfs_ = std::make_unique<EmulatedUsbfs>(*scanner_, EmulatedUsbfs::Options());
  }
  static void TearDownTestSuite() {
    usbfs_.reset();
    scanner_.reset();
    unsetenv("LD_PRELOAD");
  }

  SaneThreads() {
    countsDescriptors_ = false;  // the emulation's threads open and close some at any time
    open();
    askForSmallScan("Gray");
    virtualOne = handle;
    EXPECT_EQ(library.open("usb:1-1", &handle), SANE_STATUS_GOOD);
    askForSmallScan("Gray");
    usbOne = handle;
  }

  // `afterTheFirstBytes` runs in between.
  Scan scan(SANE_Handle one, const std::function<void()>& afterTheFirstBytes = {}) const {
    Scan result;
    result.status = library.start(one);
    std::uint8_t buffer[4000];
    SANE_Int count = 0;
    while ((result.status = library.read(one, buffer, sizeof buffer, &count)) == SANE_STATUS_GOOD) {
      if (result.page.empty() && afterTheFirstBytes) afterTheFirstBytes();
      result.page.insert(result.page.end(), buffer, buffer + count);
    }
    return result;
  }
  // One scan of each at the same time.
  std::pair<Scan, Scan> scanBoth() const {
    std::pair<Scan, Scan> both;
    std::thread first([&] { both.first = scan(virtualOne); });
    std::thread second([&] { both.second = scan(usbOne); });
    first.join();
    second.join();
    return both;
  }
  static void expectPage(const Scan& scan) {
    EXPECT_EQ(scan.status, SANE_STATUS_EOF);
    EXPECT_TRUE(scan.page == smallPage("Gray"));
  }
  void expectPages() const {
    const auto [first, second] = scanBoth();
    expectPage(first);
    expectPage(second);
  }

  SANE_Handle virtualOne = nullptr;
  SANE_Handle usbOne = nullptr;

 private:
  static inline std::unique_ptr<virtualscanner::VirtualScanner> scanner_;
  static inline std::unique_ptr<EmulatedUsbfs> usbfs_;
};

TEST_F(SaneThreads, TwoHandlesScanAtTheSameTime) {
  for (int round = 0; round < 5; ++round) expectPages();
}

TEST_F(SaneThreads, AThirdThreadCancelsOneAndLeavesTheOtherAlone) {
  for (const auto& [cancelled, other] : {std::pair{virtualOne, usbOne}, {usbOne, virtualOne}}) {
    Scan first, second;
    std::atomic<bool> begun{false};
    std::atomic<bool> asked{false};
    std::thread canceller([&] {
      begun.wait(false);
      library.cancel(cancelled);
      asked = true;
      asked.notify_one();
    });
    std::thread reader([&] { second = scan(other); });
    first = scan(cancelled, [&] {
      begun = true;
      begun.notify_one();
      asked.wait(false);
    });
    canceller.join();
    reader.join();
    EXPECT_EQ(first.status, SANE_STATUS_CANCELLED);
    expectPage(second);
  }
  expectPages();
}

TEST_F(SaneThreads, CancelsThatNeverStopMeetEveryMomentOfBoth) {
  {
    const Storm cancels([this] {
      library.cancel(virtualOne);
      library.cancel(usbOne);
    });
    for (int round = 0; round < 5; ++round) {
      const auto [first, second] = scanBoth();
      EXPECT_THAT(first.status, AnyOf(SANE_STATUS_CANCELLED, SANE_STATUS_EOF));
      EXPECT_THAT(second.status, AnyOf(SANE_STATUS_CANCELLED, SANE_STATUS_EOF));
    }
  }
  expectPages();
}

TEST_F(SaneThreads, SignalsToAnyThreadInterruptNothing) {
  const Handler handler;
  const Storm signals([] { kill(getpid(), SIGUSR1); });
  for (int round = 0; round < 5; ++round) expectPages();
}

TEST_F(SaneThreads, SignalsToAnyThreadMayCancel) {
  signalledHandle = virtualOne;
  signalledCancel = library.cancel;
  {
    const Handler handler;
    const Storm signals([] { kill(getpid(), SIGUSR1); });
    for (int round = 0; round < 5; ++round) {
      const auto [first, second] = scanBoth();
      EXPECT_THAT(first.status, AnyOf(SANE_STATUS_CANCELLED, SANE_STATUS_EOF));
      expectPage(second);
    }
  }
  signalledHandle = nullptr;
  expectPages();
}

// The virtual scanner scans: the emulation takes one process at a time that begins to use USB.
TEST_F(SaneThreads, ScannersAreListedOpenedAndClosedMeanwhile) {
  const Storm others([this] {
    const SANE_Device** devices = nullptr;
    EXPECT_EQ(library.getDevices(&devices, SANE_TRUE), SANE_STATUS_GOOD);
    EXPECT_STREQ(devices[0]->name, "usb:1-1");
    library.close(usbOne);
    EXPECT_EQ(library.open("usb:1-1", &usbOne), SANE_STATUS_GOOD);
  });
  const Storm sameOnes([this] {
    SANE_Handle another = nullptr;
    EXPECT_EQ(library.open("virtual", &another), SANE_STATUS_DEVICE_BUSY);
  });
  for (int round = 0; round < 10; ++round) expectPage(scan(virtualOne));
}

}  // namespace
