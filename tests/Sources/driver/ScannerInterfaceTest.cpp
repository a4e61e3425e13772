#include <climits>
#include <limits>

#include "DriverFixture.h"
#include "HostInC.h"
#include "ScannerInterface.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t grey = 2;
constexpr std::int32_t color = 1;

// Calls as a host does. Deletes the object behind the handle, which the interface never frees.
class Interface : public DriverFixture {
 protected:
  Interface() {
    plugScannerIn();
    enable();
    usb.forgetCalls();
  }
  void enable() { adopt(EnableScanner()); }
  void adopt(intptr_t enabled) {
    handle = enabled;
    driver.reset(reinterpret_cast<CScannerDriver*>(enabled));
  }
  const ScanArea& area() const { return driver->scanArea(); }

  intptr_t handle = 0;
};

TEST_F(Interface, TheHandleIsTheAddressOfTheDriver) {
  EXPECT_NE(handle, 0);
  EXPECT_TRUE(driver->deviceOpen());
}

TEST_F(Interface, EnableGivesAHandleWithoutADevice) {
  fakes::ScriptedUsbStack empty;
  const fakes::ChosenUsbStack use(empty);
  driver.reset();
  enable();
  EXPECT_NE(handle, 0);
  EXPECT_FALSE(driver->deviceOpen());
  EXPECT_EQ(DisableScanner(handle), 1);
}

TEST_F(Interface, EnableResetsTheByteCounter) {
  totalBytesRead = 5;
  driver.reset();
  enable();
  EXPECT_EQ(totalBytesRead, 0U);
}

TEST_F(Interface, EnableExIgnoresItsArguments) {
  totalBytesRead = 5;
  driver.reset();
  usb.forgetCalls();
  adopt(EnableScannerEx(1, "two", 3.0, nullptr));
  EXPECT_EQ(totalBytesRead, 0U);
  EXPECT_TRUE(driver->deviceOpen());
  EXPECT_EQ(usb.calls().front(), "masterPort()");
}

TEST_F(Interface, EnableExIsTheSameCallFromC) {
  totalBytesRead = 5;
  driver.reset();
  adopt(enableFromC());
  EXPECT_EQ(totalBytesRead, 0U);
  EXPECT_TRUE(driver->deviceOpen());
}

TEST_F(Interface, DisableClosesTheDeviceAndReleasesTheBuffers) {
  EXPECT_EQ(DisableScanner(handle), 1);
  EXPECT_FALSE(driver->deviceOpen());
  EXPECT_FALSE(driver->hasTransferBuffers());
  EXPECT_EQ(usb.calls().back(), "interface 1.release()");
  EXPECT_THAT(usb.leftovers(), IsEmpty());
}

TEST_F(Interface, DisableClosesNothingWhereThereWasNoMasterPort) {
  fakes::ScriptedUsbStack other;
  const fakes::ChosenUsbStack use(other);
  other.failNext("masterPort", platform::kIOReturnError);
  driver.reset();
  enable();
  EXPECT_TRUE(driver->deviceOpen());
  EXPECT_EQ(DisableScanner(handle), 1);
  EXPECT_THAT(other.calls(), ElementsAre("masterPort()"));
  EXPECT_FALSE(driver->hasTransferBuffers());
}

TEST_F(Interface, AnswersANullHandle) {
  std::uint32_t delivered = 77;
  EXPECT_EQ(DisableScanner(0), -1);
  EXPECT_EQ(AbortScan(0), -1);
  EXPECT_EQ(StartScan(0), -1);
  EXPECT_EQ(EndNetworkScan(0), -1);
  EXPECT_EQ(ReadImage(0, nullptr, 100, &delivered), -1);
  EXPECT_EQ(delivered, 77U);
  EXPECT_EQ(SetIdleCallback(nullptr), 0);
  EXPECT_EQ(IsUSBConnectionValid(0), 0);
  EXPECT_EQ(ForceQuit(0), 0);
}

TEST_F(Interface, ANullHandleLeavesTheByteCounterAlone) {
  totalBytesRead = 5;
  StartScan(0);
  ReadImage(0, nullptr, 100, nullptr);
  EXPECT_EQ(totalBytesRead, 5U);
}

TEST_F(Interface, StubsHaveFixedResults) {
  EXPECT_EQ(GetHotKey(1), 1);
  EXPECT_EQ(GetADFStatus(), 1);
  EXPECT_EQ(DeviceParameterSet("a", 2.0), 1);
  EXPECT_EQ(DeviceParameterGet(&usb, 1, 2, 3, 4, 5, 6, 7, 8), 1);
  EXPECT_EQ(ScanVersion(0), 1);
  EXPECT_EQ(ImageFilterSetup(nullptr), 1);
  EXPECT_EQ(GetDevicePropteries(handle), 0);
  EXPECT_EQ(SetIdleCallback(&usb), 1);
  EXPECT_EQ(IsUSBConnectionValid(handle), 1);
  EXPECT_EQ(ForceQuit(handle), 1);
  EXPECT_EQ(EndNetworkScan(handle), 0);
  EXPECT_THAT(usb.calls(), IsEmpty());
}

TEST_F(Interface, StubsTakeAnyArgumentsFromC) {
  std::int32_t results[7];
  callStubsFromC(results);
  EXPECT_THAT(results, ElementsAre(1, 1, 1, 1, 1, 1, 0));
}

TEST_F(Interface, AbortScanChangesNothing) {
  totalBytesRead = 5;
  EXPECT_EQ(AbortScan(handle), 0);
  EXPECT_EQ(totalBytesRead, 5U);
  EXPECT_TRUE(driver->deviceOpen());
  EXPECT_THAT(usb.calls(), IsEmpty());
}

TEST_F(Interface, StoresAGreyPageGivenInInches) {
  EXPECT_EQ(SetScanParameter(handle, 300, 300, grey, 0.0, 0.0, 8.5, 11.0), 1);
  EXPECT_EQ(area().width, 2550);
  EXPECT_EQ(area().height, 3300);
  EXPECT_EQ(area().bitDepth, 8U);
  EXPECT_EQ(area().colorFlag, 0U);
  EXPECT_EQ(driver->convertedImage().bytesPerPixel, 1U);

  unsigned long width = 0;
  unsigned long height = 0;
  testing::internal::CaptureStdout();
  EXPECT_EQ(GetScanParameter(handle, &width, &height), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "CScannerDriver::getScanParameter(2550, 3300)\n");
  EXPECT_EQ(width, 2550U);
  EXPECT_EQ(height, 3300U);
}

TEST_F(Interface, EveryOtherColourModeIsColour) {
  for (const std::int32_t mode : {0, 1, 3, -2, INT_MAX}) {
    SetScanParameterEx(handle, 75, 75, grey, 0, 0, 1200, 1200);
    EXPECT_EQ(SetScanParameterEx(handle, 75, 75, mode, 0, 0, 1200, 1200), 1);
    EXPECT_EQ(area().bitDepth, 24U) << mode;
    EXPECT_EQ(area().colorFlag, 1U) << mode;
    EXPECT_EQ(driver->convertedImage().bytesPerPixel, 3U) << mode;
  }
}

TEST_F(Interface, The2006FormIsTheSame) {
  SetScanParameterEx(handle, 150, 600, grey, 1201, 2399, 10200, 14031);
  const ScanArea first = area();
  SetScanParameterEx(handle, 75, 75, color, 0, 0, 1, 1);
  EXPECT_EQ(SetScanParameter2006(handle, 150, 600, grey, 1201, 2399, 10200, 14031), 1);
  const ScanArea& second = area();
  EXPECT_EQ(first.xResolution, second.xResolution);
  EXPECT_EQ(first.yResolution, second.yResolution);
  EXPECT_EQ(first.left, second.left);
  EXPECT_EQ(first.top, second.top);
  EXPECT_EQ(first.width, second.width);
  EXPECT_EQ(first.height, second.height);
  EXPECT_EQ(first.bitDepth, second.bitDepth);
}

struct UnitsRow {
  std::int32_t resolution;
  std::int32_t widthPixels;
  std::int32_t heightPixels;
};

TEST_F(Interface, PagesInPixelsAtTheUsualResolutions) {
  for (const UnitsRow& row : {UnitsRow{75, 637, 876}, UnitsRow{100, 850, 1169}, UnitsRow{300, 2550, 3507},
                              UnitsRow{600, 5100, 7015}}) {
    SetScanParameterEx(handle, row.resolution, row.resolution, color, 0, 0, 10200, 14031);
    EXPECT_EQ(area().width, row.widthPixels) << row.resolution;
    EXPECT_EQ(area().height, row.heightPixels) << row.resolution;
  }
}

TEST_F(Interface, ConvertsEachDirectionAtItsOwnResolution) {
  SetScanParameterEx(handle, 300, 600, color, 601, 603, 1801, 2403);
  EXPECT_EQ(area().xResolution, 300);
  EXPECT_EQ(area().yResolution, 600);
  EXPECT_EQ(area().left, 150);   // 150.25
  EXPECT_EQ(area().top, 301);    // 301.5
  EXPECT_EQ(area().width, 300);  // 1200 units, not from the truncated edges
  EXPECT_EQ(area().height, 900);
}

TEST_F(Interface, TakesAnyUnsignedCoordinate) {
  SetScanParameterEx(handle, 1200, 600, color, 0x80000000U, 0x80000000U, 0x80000001U, 0xFFFFFFFFU);
  EXPECT_EQ(area().left, INT_MAX);  // 2147483648 pixels saturate
  EXPECT_EQ(area().top, 0x40000000);
  EXPECT_EQ(area().width, 1);
  EXPECT_EQ(area().height, 0x3FFFFFFF);
}

TEST_F(Interface, ARightEdgeLeftOfTheLeftOneIsAHugeWidth) {
  SetScanParameterEx(handle, 1200, 600, color, 10, 10, 9, 9);
  EXPECT_EQ(area().width, INT_MAX);      // 0xFFFFFFFF x 1 saturates
  EXPECT_EQ(area().height, 2147483647);  // 0xFFFFFFFF x 0.5, truncated
  SetScanParameterEx(handle, 300, 300, color, 10, 10, 9, 9);
  EXPECT_EQ(area().width, 0x3FFFFFFF);  // small enough not to saturate
}

TEST_F(Interface, ResolutionsMayBeZeroOrNegative) {
  SetScanParameterEx(handle, 0, -1200, color, 100, 100, 200, 300);
  EXPECT_EQ(area().left, 0);
  EXPECT_EQ(area().top, -100);
  EXPECT_EQ(area().width, 0);
  EXPECT_EQ(area().height, -200);
  SetScanParameterEx(handle, INT_MIN, 600, color, 0xFFFFFFFFU, 0, 0, 0);
  EXPECT_EQ(area().left, INT_MIN);  // below the signed range
}

struct InchesRow {
  double inches;
  std::int32_t pixels;  // of the left edge at 1200 dots per inch, so that units become pixels one to one
};

TEST_F(Interface, InchesBecomeUnitsByTruncationAndSaturation) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  const InchesRow rows[] = {
      {0.0, 0},
      {1.0, 1200},
      {0.0008, 0},
      {0.00249, 2},
      {8.5, 10200},
      {-0.0001, 0},               // truncated to 0
      {1789569.705, 0x7FFFFFFE},  // 2147483646.0
      {1789569.7067, INT_MAX},    // 2147483648.04 units, too many pixels
      {infinity, INT_MAX},
      {-1.0, INT_MAX},  // 0xFFFFFB50 units
  };
  for (const InchesRow& row : rows) {
    SetScanParameter(handle, 1200, 1200, color, row.inches, 0.0, 0.0, 0.0);
    EXPECT_EQ(area().left, row.pixels) << row.inches;
  }
  // At 600 dots per inch half of the units remain visible above the signed range.
  SetScanParameter(handle, 600, 600, color, -1.0, nan, 0.0, 0.0);
  EXPECT_EQ(area().left, 0x7FFFFDA8);  // 0xFFFFFB50 / 2
  EXPECT_EQ(area().top, 0x40000000);   // 0x80000000 / 2
  SetScanParameter(handle, 600, 600, color, 1e300, -1e300, 0.0, 0.0);
  EXPECT_EQ(area().left, 0x7FFFFFFF);  // 0xFFFFFFFF / 2
  EXPECT_EQ(area().top, 0x40000000);   // 0x80000000 / 2
  SetScanParameter(handle, 600, 600, color, 3579139.41, 0.0, 0.0, 0.0);
  EXPECT_EQ(area().left, 0x7FFFFFFE);  // 4294967292 units, as unsigned
}

TEST_F(Interface, EdgesInInchesReachTheirPlaces) {
  SetScanParameter(handle, 1200, 1200, color, 1.0, 2.0, 4.0, 6.0);
  EXPECT_EQ(area().left, 1200);
  EXPECT_EQ(area().top, 2400);
  EXPECT_EQ(area().width, 3600);
  EXPECT_EQ(area().height, 4800);
}

TEST_F(Interface, GetScanParameterShowsANegativeSizeAsThe32BitHostDid) {
  driver->setScanParameter(75, 75, color, 0, 0, -2, INT_MIN);
  unsigned long width = 0;
  unsigned long height = 0;
  testing::internal::CaptureStdout();
  GetScanParameter(handle, &width, &height);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "CScannerDriver::getScanParameter(-2, -2147483648)\n");
  EXPECT_EQ(width, 0xFFFFFFFEU);
  EXPECT_EQ(height, 0x80000000U);
}

TEST_F(Interface, StartScanResetsTheByteCounterAndReturnsTheJobsResult) {
  totalBytesRead = 5;
  usb.queueStatus(dataPipe, platform::kIOReturnNoDevice);
  EXPECT_EQ(StartScan(handle), static_cast<std::int32_t>(0xE00002C0));
  EXPECT_EQ(totalBytesRead, 0U);
}

TEST_F(Interface, StartScanFailsInsideTheJobWithoutADevice) {
  driver.reset();
  fakes::ScriptedUsbStack empty;
  const fakes::ChosenUsbStack use(empty);
  enable();
  EXPECT_EQ(StartScan(handle), platform::kIOReturnNoDevice);
}

}  // namespace
