#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "HookedUsbStack.h"
#include "ImagePipe.h"
#include "ScanSession.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"
#include "Watchdog.h"
#include "WorkerMessages.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using platform::OwnedDescriptor;

constexpr int ofAHang = 3;  // exit status

[[noreturn]] void hang() {
  for (;;) pause();
}

// A worker in this process, or in a copy of it that may end, and the front end's end of its connection.
class SupervisedWorker : public testing::Test {
 protected:
  SupervisedWorker() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    frontEnd = OwnedDescriptor(ends[0]);
    control = OwnedDescriptor(ends[1]);
    reports.emplace(control.get());
  }

  std::unique_ptr<Watchdog> watch(std::chrono::milliseconds longestIdleTime = 60s) {
    return std::make_unique<Watchdog>(
        Watchdog::Dependencies{control.get(), cancel, transfers, activity, *reports, longestIdleTime});
  }
  void sayCancel() const {
    ASSERT_GT(send(frontEnd.get(), cancelMessage, sizeof cancelMessage - 1, MSG_NOSIGNAL), 0);
  }
  // The next report, if one arrives in time.
  std::optional<WorkerReport> hear(int withinMs = 10000) const {
    pollfd awaited{frontEnd.get(), POLLIN, 0};
    if (poll(&awaited, 1, withinMs) != 1) return std::nullopt;
    std::array<char, largestWorkerMessage> message;
    const ssize_t count = recv(frontEnd.get(), message.data(), message.size(), MSG_DONTWAIT);
    return count > 0 ? readReport({message.data(), static_cast<std::size_t>(count)}) : std::nullopt;
  }
  // The outcome that was reported, after all heartbeats.
  ScanOutcome heardOutcome() const {
    for (;;) {
      const auto report = hear();
      if (!report) return {ScanStatus::good, "nothing was reported"};
      if (const auto* outcome = std::get_if<ScanOutcome>(&*report)) return *outcome;
    }
  }

  OwnedDescriptor frontEnd;
  OwnedDescriptor control;
  std::optional<ReportChannel> reports;
  Cancellation cancel;
  ThreadActivity activity;
  TransferInFlight transfers{activity};
};

TEST_F(SupervisedWorker, EndsWhereALibraryOrAStackBelowItHangs) {
  const auto scanThatHangs = [this] {
    virtualscanner::VirtualScanner scanner;
    virtualscanner::VirtualUsbStack stack(scanner);
    HookedUsbStack hooked(stack, [](int transfer) {
      if (transfer == 7) hang();
    });
    const auto watchdog = watch(300ms);
    SessionHooks hooks;
    hooks.transfers = &transfers;
    ScanSession(hooked, {75, ColorMode::color, {100, 60, 317, 211}}, hooks).run();
  };
  EXPECT_EXIT(scanThatHangs(), testing::ExitedWithCode(ofAHang), "");
  EXPECT_EQ(heardOutcome().status, ScanStatus::timedOut);
}

TEST_F(SupervisedWorker, EndsWhereThePictureIsTakenByNobodyWhoEverReturns) {
  class HangingListener final : public PictureListener {
   public:
    std::optional<ScanOutcome> begins(const PictureHeader& /*header*/) override { hang(); }
    bool raster(const std::uint8_t* /*bytes*/, std::size_t /*count*/) override { return true; }
    void isWhole() override {}
  };
  const auto scanThatHangs = [this] {
    virtualscanner::VirtualScanner scanner;
    virtualscanner::VirtualUsbStack stack(scanner);
    HangingListener listener;
    const auto watchdog = watch(300ms);
    SessionHooks hooks;
    hooks.transfers = &transfers;
    hooks.picture = &listener;
    ScanSession(stack, {75, ColorMode::color, {100, 60, 317, 211}}, hooks).run();
  };
  EXPECT_EXIT(scanThatHangs(), testing::ExitedWithCode(ofAHang), "");
  EXPECT_EQ(heardOutcome().status, ScanStatus::timedOut);
}

TEST_F(SupervisedWorker, EndsWhereACancelIsNotHeeded) {
  sayCancel();
  const auto workThatHangs = [this] {
    const auto watchdog = watch();
    hang();
  };
  EXPECT_EXIT(workThatHangs(), testing::ExitedWithCode(ofAHang), "");
  EXPECT_EQ(heardOutcome().status, ScanStatus::cancelled);
}

// Each heartbeat is one check of the worker.
TEST_F(SupervisedWorker, StaysWhileItsFrontEndDoesNotRead) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  const OwnedDescriptor reader(ends[0]);
  const auto watchdog = watch(800ms);  // less than between two looks
  ImagePipe image(ends[1], watchdog->cancelled(), cancel, activity);
  std::thread frontEndThread([this] {
    EXPECT_TRUE(hear());
    EXPECT_TRUE(hear());
    sayCancel();
  });
  const std::vector<std::uint8_t> bytes(1 << 20);
  EXPECT_FALSE(image.write(bytes.data(), bytes.size()));
  EXPECT_TRUE(cancel.requested());
  frontEndThread.join();
}

TEST_F(SupervisedWorker, IsCancelledByAMessageAndByTheEndOfItsFrontEnd) {
  for (const bool byMessage : {true, false}) {
    Cancellation flag;
    const Watchdog watchdog({control.get(), flag, transfers, activity, *reports, 60s});
    if (byMessage) {
      sayCancel();
    } else {
      frontEnd.reset();
    }
    pollfd awaited{watchdog.cancelled(), POLLIN, 0};
    EXPECT_EQ(poll(&awaited, 1, 10000), 1);
    EXPECT_TRUE(flag.requested());
  }
}

TEST_F(SupervisedWorker, LeavesOneSignOfLifeWhereNobodyListens) {
  for (int i = 0; i < 1000; ++i) reports->sendHeartbeat();
  const auto heartbeat = hear();
  ASSERT_TRUE(heartbeat);
  EXPECT_TRUE(std::holds_alternative<Heartbeat>(*heartbeat));
  EXPECT_FALSE(hear(0));
  reports->sendHeartbeat();
  EXPECT_TRUE(hear(0));
}

TEST_F(SupervisedWorker, SaysNothingAfterItsOutcome) {
  reports->send(outcome::good());
  EXPECT_TRUE(hear(0));
  reports->sendHeartbeat();
  reports->send(PictureLayout{1, 1, 1, 8, 75});
  reports->send(outcome::cancelled());
  EXPECT_FALSE(hear(0));
}

}  // namespace
