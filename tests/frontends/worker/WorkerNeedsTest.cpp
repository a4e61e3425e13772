#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "WorkerNeeds.h"

namespace {

using namespace frontend;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

TEST(WorkerNeeds, AreUsbDevicesForWritingAndNothingElse) {
  const platform::ConfinementNeeds needs = workerNeeds(ScanRequest());
  EXPECT_THAT(needs.devices, ElementsAre("/dev/bus/usb"));
  EXPECT_THAT(needs.sockets, IsEmpty());
  EXPECT_THAT(needs.readable, Contains("/sys"));
}

TEST(WorkerNeeds, AreThePaperOfAVirtualScannerToo) {
  ScanRequest request;
  EXPECT_THAT(workerNeeds(request).readable, Not(Contains("")));
  request.virtualScanner.paper = "page.png";
  EXPECT_THAT(workerNeeds(request).readable, Contains("page.png"));
}

// The library holds up to three and a half copies, and an object of some sixty bytes for each of the packets
// that StreamBounds.h allows.
TEST(WorkerNeeds, AreMemoryForSeveralTimesThePicture) {
  ScanRequest request;
  request.settings.area = {0, 0, 2550, 3507};
  const std::uint64_t raster = 2550 * 3507 * 3;
  EXPECT_EQ(workerNeeds(request).memoryBytes, (256U << 20) + 10 * raster);
}

TEST(WorkerNeeds, OfAListAreThoseOfAnyScan) {
  EXPECT_EQ(workerNeeds().readable, workerNeeds(ScanRequest()).readable);
  EXPECT_THAT(workerNeeds().devices, ElementsAre("/dev/bus/usb"));
  EXPECT_EQ(workerNeeds().memoryBytes, 256U << 20);
}

TEST(WorkerNeeds, AreSocketsInTheFolderOfAnEmulation) {
  setenv("UMOCKDEV_DIR", "/emulated", 1);
  EXPECT_THAT(workerNeeds(ScanRequest()).sockets, ElementsAre("/emulated"));
  unsetenv("UMOCKDEV_DIR");
}

}  // namespace
