#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>
#include <memory>

#include "FakeScanner.h"
#include "ScanJobs.h"
#include "SupervisedScan.h"
#include "UsbfsHost.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::HasSubstr;

// As in the server, but with the worker of the tests.
class UsbScan final : public ScanSource {
 public:
  explicit UsbScan(const ScanRequest& request) : scan_(request, Q750_WORKER) {}
  std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity) override {
    return scan_.readAvailable(buffer, capacity);
  }
  void wait(std::chrono::milliseconds longest) override {
    pollfd rows{scan_.descriptor(), POLLIN, 0};
    [[maybe_unused]] const int ready = poll(&rows, 1, static_cast<int>(longest.count()));
  }
  ScanOutcome outcome() const override { return scan_.outcome(); }
  void cancel() noexcept override { scan_.cancel(); }

 private:
  SupervisedScan scan_;
};

class ScansOnUsb : public UsbfsHost {
 protected:
  ScansOnUsb() { setenv("LD_PRELOAD", Q750_PRELOAD, 1); }
  ~ScansOnUsb() override { unsetenv("LD_PRELOAD"); }

  static ScanJobsSetup setup() {
    ScanJobsSetup setup;
    setup.request.scanner = "usb";
    setup.start = [](const ScanRequest& request) { return std::make_unique<UsbScan>(request); };
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
