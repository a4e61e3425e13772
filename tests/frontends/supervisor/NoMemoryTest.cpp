#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "AllocationFaults.h"
#include "Scans.h"
#include "Supervised.h"

namespace {

using namespace frontend;

// An allocation that failed there would end the host program: destructors cannot throw.
TEST_F(Supervised, ADroppedScanAllocatesNothing) {
  auto scan = std::make_unique<SupervisedScan>(scans::slow(), Q750_WORKER);
  const AllocationFaults faults = AllocationFaults::nth(1);
  scan.reset();
  EXPECT_FALSE(faults.happened());
}

TEST_F(Supervised, AFailedAllocationEndsAScanAsBadAllocOrAnOutcome) {
  bool failed = true;
  for (int n = 1; failed; ++n) {
    ScanStatus status = ScanStatus::noMemory;
    const ScanRequest request = scans::small();
    {
      const AllocationFaults faults = AllocationFaults::nth(n);
      try {
        SupervisedScan scan(request, Q750_WORKER);
        scans::readAll(scan);
        status = scan.outcome().status;
      } catch (const std::bad_alloc&) {
        status = ScanStatus::noMemory;
      }
      failed = faults.happened();
    }
    expectNoChild();
    EXPECT_TRUE(status == ScanStatus::noMemory || !failed || status == ScanStatus::good) << n;
  }
}

}  // namespace
