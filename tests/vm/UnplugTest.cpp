#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "KernelBus.h"
#include "Scans.h"

// Scans as the front ends do, by a worker that is confined, while the scanner is unplugged from the kernel's
// USB at random moments.
namespace {

using frontend::ScanStatus;
using Milliseconds = std::chrono::milliseconds;

class Unplugging : public testing::Test {
 protected:
  void SetUp() override { bus_.plugIn(); }

  static frontend::ScanRequest request() {
    frontend::ScanRequest request = scans::small();
    request.scanner = "usb";
    return request;
  }

  void plugInAgain() {
    bus_.unplug();
    bus_.plugIn();
  }

  // Scans and unplugs the scanner after this time.
  frontend::ScanOutcome scanAndPull(Milliseconds after) {
    frontend::SupervisedScan scan(request());
    std::thread hand([&] {
      std::this_thread::sleep_for(after);
      bus_.pull();
    });
    const std::vector<std::uint8_t> rows = scans::readAll(scan);
    hand.join();
    EXPECT_TRUE(!scan.outcome().good() || rows == page_);
    return scan.outcome();
  }

  // Returns the time that it took.
  Milliseconds scanWell() {
    const auto start = scans::Clock::now();
    frontend::SupervisedScan scan(request());
    EXPECT_TRUE(scans::readAll(scan) == page_) << scan.outcome().sentence;
    EXPECT_TRUE(scan.outcome().good()) << scan.outcome().sentence;
    return scans::since(start);
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
  scanWell();              // which takes longer, since it is the first
  const auto longest = static_cast<int>(std::min(scanWell(), scanWell()).count());
  const int count = unpluggings();
  for (int n = 0; n < count; ++n) {
    const Milliseconds moment(std::uniform_int_distribution<>(0, longest)(dice));
    SCOPED_TRACE(moment.count());
    const frontend::ScanOutcome outcome = scanAndPull(moment);
    EXPECT_TRUE(outcome.good() || outcome.status == ScanStatus::noDevice) << outcome.sentence;
    plugInAgain();
    scanWell();
    std::printf("unplugged after %d of %d ms: %s\n", static_cast<int>(moment.count()), longest,
                outcome.sentence.c_str());
    std::fflush(stdout);
  }
}

}  // namespace
