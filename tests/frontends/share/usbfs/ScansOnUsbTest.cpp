#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "FakeScanner.h"
#include "ScanJobs.h"
#include "ScanSource.h"
#include "UsbfsHost.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::HasSubstr;

class ScansOnUsb : public UsbfsHost {
 protected:
  ScansOnUsb() { setenv("LD_PRELOAD", Q750_PRELOAD, 1); }
  ~ScansOnUsb() override { unsetenv("LD_PRELOAD"); }

  static ScanJobsSetup setup() {
    ScanJobsSetup setup;
    setup.request.scanner = "usb";
    setup.start = scansBy(Q750_WORKER);
    setup.earlyFailure = 20s;  // on a busy machine the worker takes its time
    return setup;
  }
  void expectGoodScan() {
    const ScanJobs::Posted posted = jobs_.post(FakeScanner::ticket());
    ASSERT_EQ(posted.code, 201U) << posted.sentence;
    const auto job = jobs_.find(posted.id);
    ASSERT_TRUE(job->awaitFreeScanner(20s));
    EXPECT_EQ(job->phase(), JobPhase::ready) << job->outcome()->sentence;
  }

  ScanJobs jobs_{setup()};
};

TEST_F(ScansOnUsb, AreRefusedWhileAnotherProgramHasTheScannerAndWorkOnceItIsFree) {
  EmulatedUsbfs::Options options;
  options.inUse = true;
  plugIn(options);
  const ScanJobs::Posted posted = jobs_.post(FakeScanner::ticket());
  EXPECT_EQ(posted.code, 503U);
  EXPECT_THAT(posted.sentence, HasSubstr("in use"));
  plugIn();
  expectGoodScan();
}

TEST_F(ScansOnUsb, AreRefusedWhileTheScannerIsUnpluggedAndWorkOnceItIsBack) {
  plugIn();
  usbfs_->unplug();
  EXPECT_EQ(jobs_.post(FakeScanner::ticket()).code, 503U);
  usbfs_->plugIn();
  expectGoodScan();
}

}  // namespace
