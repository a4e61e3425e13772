#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "FrontEnd.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The current handle and library, for the signal handler.
std::atomic<SANE_Handle> signalledHandle;
std::atomic<decltype(sane_cancel)*> signalledCancel;

void cancelOnSignal(int) {
  signalledCancel.load()(signalledHandle.load());
}

class SaneCancel : public FrontEnd {
 protected:
  static constexpr auto slow = "virtual-speed 30000\nvirtual-real-time on";
  static constexpr auto dead = "virtual-fault silence@0\nvirtual-real-time on";
  static constexpr auto cold = "virtual-warm-up 20000\nvirtual-real-time on";

  void beginScan(const char* config) {
    begin(config);
    open();
    askForSmallScan("Color");
    ASSERT_EQ(start(), SANE_STATUS_GOOD);
  }
  // Reads on until a cancel, which another thread requests after `delay`, and returns the time to respond.
  template <typename Cancel>
  std::chrono::milliseconds answerTo(Cancel cancel) {
    std::atomic<Clock::rep> asked{0};
    std::thread other([&] {
      std::this_thread::sleep_for(50ms);  // so that the read is waiting
      asked = Clock::now().time_since_epoch().count();
      cancel();
    });
    while (read() == SANE_STATUS_GOOD) {
    }
    const auto answered = Clock::now();
    other.join();
    EXPECT_EQ(status, SANE_STATUS_CANCELLED);
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        answered - Clock::time_point(Clock::duration(asked.load())));
  }
  // The scanner must be ready for the next one.
  void expectScanAfterwards() {
    end();
    begin();
    open();
    askForSmallScan("Gray");
    ASSERT_EQ(start(), SANE_STATUS_GOOD);
    EXPECT_TRUE(readAll() == smallPage("Gray"));
    EXPECT_EQ(status, SANE_STATUS_EOF);
  }
};

TEST_F(SaneCancel, FromAnotherThreadEndsAWaitingReadInEveryState) {
  for (const char* config : {slow, dead, cold}) {
    beginScan(config);
    EXPECT_LT(answerTo([this] { library.cancel(handle); }), 1s) << config;
  }
  expectScanAfterwards();
}

TEST_F(SaneCancel, FromASignalHandlerEndsAWaitingReadInEveryState) {
  struct sigaction action {};
  action.sa_handler = cancelOnSignal;
  action.sa_flags = SA_RESTART;
  struct sigaction before {};
  sigaction(SIGUSR1, &action, &before);
  const pthread_t reader = pthread_self();
  for (const char* config : {slow, dead, cold}) {
    beginScan(config);
    signalledHandle = handle;
    signalledCancel = library.cancel;
    EXPECT_LT(answerTo([reader] { pthread_kill(reader, SIGUSR1); }), 1s) << config;
  }
  sigaction(SIGUSR1, &before, nullptr);
  expectScanAfterwards();
}

TEST_F(SaneCancel, BeforeTheFirstReadIsAnsweredByIt) {
  beginScan(cold);
  library.cancel(handle);
  EXPECT_EQ(read(), SANE_STATUS_CANCELLED);
  EXPECT_EQ(read(), SANE_STATUS_CANCELLED);
}

TEST_F(SaneCancel, AfterTheLastRowIsAnsweredByTheNextRead) {
  beginScan("");
  for (auto left = static_cast<SANE_Int>(smallPage("Color").size()); left > 0; left -= length)
    ASSERT_EQ(read(left), SANE_STATUS_GOOD);
  library.cancel(handle);
  EXPECT_EQ(read(), SANE_STATUS_CANCELLED);
  expectScanAfterwards();
}

TEST_F(SaneCancel, MakesTheDescriptorReadable) {
  beginScan(dead);
  ASSERT_EQ(library.setIoMode(handle, SANE_TRUE), SANE_STATUS_GOOD);
  EXPECT_FALSE(readable(0));
  library.cancel(handle);
  EXPECT_TRUE(readable(10000));
  EXPECT_EQ(read(), SANE_STATUS_CANCELLED);
}

TEST_F(SaneCancel, IsHarmlessWhenIdleTwiceAndAfterTheEnd) {
  open();
  library.cancel(nullptr);
  library.cancel(handle);
  library.cancel(handle);
  askForSmallScan("Gray");
  ASSERT_EQ(start(), SANE_STATUS_GOOD);
  EXPECT_TRUE(readAll() == smallPage("Gray"));
  library.cancel(handle);
  library.cancel(handle);
  EXPECT_EQ(set("mode", "Color"), SANE_STATUS_GOOD);
  ASSERT_EQ(start(), SANE_STATUS_GOOD);
  EXPECT_TRUE(readAll() == smallPage("Color"));
}

TEST_F(SaneCancel, IsFollowedByAStartWithoutARead) {
  beginScan("virtual-speed 30000\nvirtual-real-time on");
  read(1);
  library.cancel(handle);
  ASSERT_EQ(start(), SANE_STATUS_GOOD);
  EXPECT_EQ(read(1), SANE_STATUS_GOOD);
  EXPECT_EQ(length, 1);
}

TEST_F(SaneCancel, IsFollowedByAClose) {
  beginScan(dead);
  library.cancel(handle);
  library.close(handle);
  EXPECT_FALSE(hasChild());
}

TEST_F(SaneCancel, ThatNeverStopsMeetsEveryMomentOfStartAndEnd) {
  open();
  askForSmallScan("Gray");
  std::atomic<bool> stop{false};
  std::thread canceller([&] {
    while (!stop) {
      library.cancel(handle);
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(start(), SANE_STATUS_GOOD);
    readAll();
    EXPECT_THAT(status, testing::AnyOf(SANE_STATUS_CANCELLED, SANE_STATUS_EOF)) << "a scan may be quicker";
  }
  stop = true;
  canceller.join();
  expectScanAfterwards();
}

}  // namespace
