#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "KernelBus.h"
#include "Scans.h"

// Scans as the front ends do, by a worker that is confined, while the scanner is unplugged from the kernel's
// USB at random moments.
namespace {

using frontend::ScanStatus;

class Unplugging : public testing::Test {
 protected:
  void SetUp() override { bus_.plugIn(); }

  static frontend::ScanRequest request() {
    frontend::ScanRequest request = scans::small();
    request.scanner = "usb";
    request.settings.area = {0, 0, 637, 400};   // most of what the scanner receives asks for the picture
    request.timeout = std::chrono::minutes(5);  // an emulated processor may stand still for a while
    return request;
  }

  void plugInAgain() {
    bus_.unplug();
    bus_.plugIn();
  }

  // Scans, and unplugs the scanner at this moment, counted in receptions by the scanner.
  frontend::ScanOutcome scanAndPullAt(int reception) {
    bus_.pullAt(reception);
    frontend::SupervisedScan scan(request());
    const std::vector<std::uint8_t> rows = scans::readAll(scan);
    EXPECT_TRUE(!scan.outcome().good() || rows == page_);
    return scan.outcome();
  }

  // Returns how often the scanner received something.
  int scanWell() {
    const int before = bus_.receptions();
    frontend::SupervisedScan scan(request());
    EXPECT_TRUE(scans::readAll(scan) == page_) << scan.outcome().sentence;
    EXPECT_TRUE(scan.outcome().good()) << scan.outcome().sentence;
    scan.finish();
    return bus_.receptions() - before;
  }

  const std::vector<std::uint8_t> page_ = scans::page(request());
  virtualscanner::VirtualScanner scanner_{virtualscanner::Paper::testChart()};
  KernelBus bus_{scanner_};
};

// How many there are is set by tools/vm-check --unplug.
int unpluggings() {
  const char* wanted = std::getenv("Q750_UNPLUGGINGS");
  return wanted != nullptr ? std::atoi(wanted) : 5;
}

TEST_F(Unplugging, EndsTheScanAtAnyMomentAndTheNextOneIsGood) {
  std::mt19937 dice(750);  // the same moments each time
  const int ofWholeScan = scanWell();
  for (int left = unpluggings(); left > 0; --left) {
    const int moment = std::uniform_int_distribution<>(1, ofWholeScan)(dice);
    SCOPED_TRACE(moment);
    const frontend::ScanOutcome outcome = scanAndPullAt(moment);
    EXPECT_TRUE(outcome.good() || outcome.status == ScanStatus::noDevice) << outcome.sentence;
    plugInAgain();
    scanWell();
    std::printf("unplugged at %d of %d: %s\n", moment, ofWholeScan, outcome.sentence.c_str());
    std::fflush(stdout);
  }
}

}  // namespace
