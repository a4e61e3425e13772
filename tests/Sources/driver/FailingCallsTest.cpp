#include "DriverFixture.h"
#include "JobSpies.h"
#include "ScannerInterface.h"

// Makes the 1st, 2nd, ... n-th platform call of open, one scan and close fail, each with several statuses.
namespace {

using platform::IOReturn;
using testing::AnyOf;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;

class FailingCalls : public testing::TestWithParam<IOReturn> {
 protected:
  class Silence final : public platform::LogSink {
   public:
    void line(const platform::LogLine& /*line*/) override {}
  };

  FailingCalls() { platform::useLogSink(&silence_); }
  ~FailingCalls() override { platform::useLogSink(nullptr); }

  static void script(fakes::ScriptedUsbStack& usb) {
    usb.addInterface({}, thirteenPipes());
    for (const char* result : {"ok", "job1", "ok", "ok", "ok"}) usb.queueRead(2, response(result));
    usb.queueRead(3, imagePacket("P5\n#\n4 3\n255\n"));
    usb.queueRead(3, imagePacket(countingBytes(12)));
    usb.queueStatus(3, platform::kIOUSBTransactionTimeout);
  }

  static std::vector<platform::PipeProperties> thirteenPipes() {
    std::vector<platform::PipeProperties> pipes(13, fakes::bulkOut(1));
    pipes[0] = fakes::bulkOut(2);
    pipes[1] = fakes::bulkIn(11);
    pipes[2] = fakes::bulkIn(8);
    return pipes;
  }

  // Opens, scans, reads and closes as a host does; returns the result of StartScan.
  static int runHost(bool* opened) {
    const intptr_t handle = EnableScanner();
    const std::unique_ptr<CScannerDriver> driver(reinterpret_cast<CScannerDriver*>(handle));
    *opened = driver->interface() != nullptr;
    SetScanParameterEx(handle, 75, 75, 2, 0, 0, 64, 48);
    const int result = StartScan(handle);
    unsigned char buffer[12];
    std::uint32_t delivered = 0;
    EXPECT_EQ(ReadImage(handle, buffer, sizeof buffer, &delivered), 0);
    EXPECT_EQ(DisableScanner(handle), 1);
    return result;
  }

  Silence silence_;
};

TEST_P(FailingCalls, LeaveNothingBehindAndTheDeviceCanBeOpenedAgain) {
  int callsInAll = 0;
  for (int n = 1;; ++n) {
    SCOPED_TRACE("call " + std::to_string(n));
    fakes::ScriptedUsbStack usb;
    const fakes::ChosenUsbStack use(usb);
    const JobSpies spies;
    script(usb);
    usb.failCall(n, GetParam());
    bool opened = false;
    const int result = runHost(&opened);
    callsInAll = usb.fallibleCalls();
    ASSERT_THAT(usb.misuse(), IsEmpty());
    EXPECT_EQ(spies.parsersMade, spies.parsersReleased);

    const bool vanished = opened && result == platform::kIOReturnNoDevice;
    if (vanished) {
      // Disable closes nothing after the device vanished.
      EXPECT_THAT(usb.leftovers(), ElementsAre("interface 1", "open interface 1"));
    } else {
      // An interface that does not open is dropped without a release.
      EXPECT_THAT(usb.leftovers(), AnyOf(IsEmpty(), ElementsAre("interface 1")));
    }
    EXPECT_THAT(result, AnyOf(Eq(0), Eq(platform::kIOReturnNoDevice)));
    if (!opened) {
      EXPECT_EQ(result, platform::kIOReturnNoDevice);
    }

    usb.failCall(0, platform::kIOReturnSuccess);
    if (vanished) usb.addInterface(thirteenPipes());  // plugged in again
    const CScannerDriver again;
    EXPECT_NE(again.interface(), nullptr);
    if (n > callsInAll) break;
  }
  EXPECT_GT(callsInAll, 40);
}

INSTANTIATE_TEST_SUITE_P(Statuses, FailingCalls,
                         testing::Values(platform::kIOReturnError, platform::kIOReturnNoDevice,
                                         platform::kIOUSBTransactionTimeout, platform::kIOUSBPipeStalled,
                                         platform::kIOReturnExclusiveAccess));

}  // namespace
