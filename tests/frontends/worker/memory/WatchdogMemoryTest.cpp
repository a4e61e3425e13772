#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "MallocFaults.h"
#include "Watchdog.h"

namespace {

using namespace frontend;

constexpr int ofAHang = 3;  // exit status

// Runs in a process of its own.
[[noreturn]] void hangWithoutMemory() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
  Cancellation cancel;
  ThreadActivity activity;
  TransferInFlight transfers(activity);
  ReportChannel reports(ends[1]);
  const Watchdog watchdog({ends[1], cancel, transfers, activity, reports, std::chrono::milliseconds(300)});
  const MallocFaults faults = MallocFaults::from(1);
  for (;;) pause();
}

// Neither a heartbeat nor the outcome may throw in its thread.
TEST(WatchdogWithoutMemory, EndsAWorkerThatHangs) {
  EXPECT_EXIT(hangWithoutMemory(), testing::ExitedWithCode(ofAHang), "");
}

}  // namespace
