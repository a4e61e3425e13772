#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CScannerDriver.h"
#include "CallLog.h"
#include "DeviceIdentity.h"
#include "DriverHandle.h"
#include "HurriedUsbStack.h"
#include "KernelBus.h"
#include "LibusbStack.h"
#include "Log.h"
#include "PageImage.h"
#include "ScannerInterface.h"
#include "StackUser.h"

// Scans and faults through the kernel's own USB stack: exported C functions, LibusbStack, libusb, usbfs, the
// kernel's virtual host controller, and behind it the virtual scanner.
namespace {

using namespace virtualscanner;
using platform::kIOReturnNoDevice;
using platform::kIOReturnSuccess;
using platform::kIOUSBTransactionTimeout;
using testing::Contains;
using testing::Not;
using Clock = std::chrono::steady_clock;

class Kernel : public testing::Test {
 protected:
  static constexpr int grey = 2;
  static constexpr int color = 0;
  static constexpr std::uint8_t dataPipe = 3;
  // A no-data time-out of 15 seconds ends after half a second.
  static constexpr std::uint32_t haste = 30;

  Kernel() { platform::useLogSink(&quiet_); }
  ~Kernel() override {
    takeAway();
    platform::useUsbStack(nullptr);
    platform::useLogSink(nullptr);
  }

  // Without udev, libusb does not detect devices that are plugged in later: a new stack is used each time.
  void plugIn(ScannerOptions options = {}) {
    takeAway();
    scanner_ = std::make_unique<VirtualScanner>(paper_, std::move(options));
    calls_ = recordCalls(*scanner_);
    bus_ = std::make_unique<KernelBus>(*scanner_);
    plugInAgain();
  }
  void plugInAgain() {
    dropStack();
    bus_->unplug();
    bus_->plugIn();
    real_ = std::make_unique<platform::LibusbStack>();
    stack_ = std::make_unique<HurriedUsbStack>(*real_, haste);
    platform::useUsbStack(stack_.get());
  }
  void dropStack() {
    if (handle_ != 0) {
      EXPECT_EQ(DisableScanner(handle_), 1);
      handle_ = 0;
    }
    platform::useUsbStack(nullptr);
    stack_.reset();
    real_.reset();
    EXPECT_EQ(openNodes(), 0U);
  }
  void takeAway() {
    dropStack();
    bus_.reset();
    scanner_.reset();
  }

  // Descriptors of USB devices that this process has open.
  static std::size_t openNodes() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      if (std::filesystem::read_symlink(entry.path(), gone).string().starts_with("/dev/bus/usb/")) ++count;
    }
    return count;
  }

  struct Area {
    std::uint32_t left, top, right, bottom;  // edges in 1/1200 inch
  };
  static constexpr Area wholePage{0, 0, 10200, 14028};
  static constexpr Area oddArea{333, 777, 4001, 5005};

  int scan(int resolution, int mode, const Area& area) {
    if (handle_ == 0) handle_ = EnableScanner();
    EXPECT_EQ(SetScanParameterEx(handle_, resolution, resolution, mode, area.left, area.top, area.right,
                                 area.bottom),
              1);
    return StartScan(handle_);
  }
  int scanPage() { return scan(75, grey, wholePage); }
  const ConvertedImage& image() const { return driverBehind(handle_).convertedImage(); }
  std::vector<std::uint8_t> raster() const { return {image().pixels, image().pixels + image().length}; }
  void expectRaster(const PageRequest& request) const {
    EXPECT_TRUE(raster() == paintPage(paper_, request)) << "the raster is the page";
  }
  std::vector<std::string> calls() {
    std::vector<std::string> calls;
    bus_->withScanner([&](VirtualScanner&) { calls = *calls_; });
    return calls;
  }

  // The whole page of the faults: 637 x 876 grey pixels, of which reads of 102400 bytes are transfers 7
  // to 12.
  const PageRequest page_{75, false, 0, 0, 637, 876};
  static constexpr std::uint32_t payload = 1000;
  void plugInWith(std::vector<Fault> faults) {
    ScannerOptions options;
    options.packetPayload = payload;
    options.faults = std::move(faults);
    plugIn(std::move(options));
  }
  void expectRasterCutAt(std::size_t imageBytes) const {
    std::vector<std::uint8_t> cut = paintPage(paper_, page_);
    const std::size_t arrived = imageBytes / payload * payload - imageHeader(page_).size();
    std::fill(cut.begin() + static_cast<std::ptrdiff_t>(arrived), cut.end(), std::uint8_t{0});
    EXPECT_TRUE(raster() == cut) << "what came before is there, and nothing else";
  }
  // Image bytes in whole packets of the first read.
  static constexpr std::size_t firstRead = (102400 - 16) / 1008 * 1000;
  // Whatever happened before: after an unplugging and plugging-in, everything works in the same process.
  void expectRecovery() {
    dropStack();
    bus_->withScanner([](VirtualScanner& scanner) { scanner.setFaults({}); });
    plugInAgain();
    ASSERT_EQ(scanPage(), 0);
    expectRaster(page_);
  }

  const std::shared_ptr<const Paper> paper_ = Paper::testChart();
  std::unique_ptr<VirtualScanner> scanner_;
  CallLog calls_;  // of the scanner
  std::unique_ptr<KernelBus> bus_;
  std::unique_ptr<platform::LibusbStack> real_;
  std::unique_ptr<HurriedUsbStack> stack_;
  intptr_t handle_ = 0;

 private:
  struct QuietSink final : platform::LogSink {
    void line(const platform::LogLine&) override {}
  };
  QuietSink quiet_;
};

std::string hex(std::uint16_t value) {
  char text[5];
  std::snprintf(text, sizeof text, "%04x", value);
  return text;
}

TEST_F(Kernel, SeesTheScanner) {
  plugIn();
  EXPECT_EQ(KernelBus::attribute("idVendor"), hex(platform::deviceVendorId));
  EXPECT_EQ(KernelBus::attribute("idProduct"), hex(platform::deviceProductId));
  EXPECT_EQ(KernelBus::attribute("manufacturer"), "Quenvar");
  EXPECT_EQ(KernelBus::attribute("product"), "Quenvar Q750");
  EXPECT_EQ(KernelBus::attribute("speed"), "480");
  EXPECT_EQ(KernelBus::attribute("bConfigurationValue"), "1");
}

TEST_F(Kernel, ShowsItToTheStack) {
  plugIn();
  StackUser user(*real_);
  EXPECT_EQ(user.count(platform::ServiceKind::usbDevice), 1);
  EXPECT_EQ(user.count(platform::ServiceKind::usbInterface), 1);
  const auto device = user.device();
  ASSERT_NE(device, nullptr);
  std::uint32_t location = 0;
  EXPECT_EQ(device->getLocationID(&location), kIOReturnSuccess);
  EXPECT_EQ(location, 0x01100000U);
  const auto interface = user.interface();
  ASSERT_EQ(interface->open(), kIOReturnSuccess);
  const auto second = user.interface();
  EXPECT_EQ(second->open(), platform::kIOReturnExclusiveAccess);
  std::uint8_t count = 0;
  EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 3);
}

TEST_F(Kernel, CarriesEveryPixel) {
  plugIn();
  ASSERT_EQ(scan(75, grey, wholePage), 0);
  expectRaster({75, false, 0, 0, 637, 876});
  ASSERT_EQ(scan(75, color, wholePage), 0);
  expectRaster({75, true, 0, 0, 637, 876});
  ASSERT_EQ(scan(150, color, oddArea), 0);
  expectRaster({150, true, 41, 97, 458, 528});
  ASSERT_EQ(scan(600, grey, oddArea), 0);
  expectRaster({600, false, 166, 388, 1834, 2114});
}

TEST_F(Kernel, CarriesEveryPixelHoweverTheDeviceCutsItsStream) {
  for (const std::uint32_t transferBytes : {7U, 512U, 102400U}) {
    for (const auto packets : {ZeroLengthPackets::never, ZeroLengthPackets::whenNeeded}) {
      SCOPED_TRACE(transferBytes);
      ScannerOptions options;
      options.transferBytes = transferBytes;
      options.zeroLengthPackets = packets;
      plugIn(options);
      ASSERT_EQ(scan(75, color, {1200, 1200, 1600, 1500}), 0);
      expectRaster({75, true, 75, 75, 25, 18});
    }
  }
}

// The stream fills its last packet, and nothing marks its end: the read is cancelled with all of it.
TEST_F(Kernel, CarriesWhatCameBeforeAReadIsAskedBack) {
  ScannerOptions options;
  options.zeroLengthPackets = ZeroLengthPackets::never;
  plugIn(options);
  ASSERT_EQ(scan(75, grey, {0, 0, 37 * 16, 12 * 16}), 0);
  expectRaster({75, false, 0, 0, 37, 12});
}

TEST_F(Kernel, ChangesTheAlternateSetting) {
  ScannerOptions options;
  options.alternateSettings = true;
  plugIn(options);
  ASSERT_EQ(scan(75, color, oddArea), 0);
  expectRaster({75, true, 20, 48, 229, 264});
}

TEST_F(Kernel, EndsASilentReadAtItsTimeOut) {
  plugIn();
  const auto interface = StackUser(*real_).interface();
  ASSERT_EQ(interface->open(), kIOReturnSuccess);
  std::uint8_t buffer[512];
  std::uint32_t size = sizeof buffer;
  const auto start = Clock::now();
  EXPECT_EQ(interface->readPipeTO(dataPipe, buffer, &size, 200, 0), kIOUSBTransactionTimeout);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_EQ(size, 0U);
}

TEST_F(Kernel, EndsAReadWithinASecondOfTheUnplugging) {
  plugIn();
  const auto interface = StackUser(*real_).interface();
  ASSERT_EQ(interface->open(), kIOReturnSuccess);
  Clock::time_point pulled;
  std::thread hand([this, &pulled] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    pulled = Clock::now();
    bus_->pull();
  });
  std::uint8_t buffer[512];
  std::uint32_t size = sizeof buffer;
  EXPECT_EQ(interface->readPipeTO(dataPipe, buffer, &size, 0, 0), kIOReturnNoDevice);
  const auto ended = Clock::now();
  hand.join();
  EXPECT_LT(ended - pulled, std::chrono::seconds(1));
  EXPECT_EQ(interface->readPipeTO(dataPipe, buffer, &size, 0, 0), kIOReturnNoDevice);
}

TEST_F(Kernel, WorksAgainAfterEveryUnplugging) {
  plugIn();
  for (int turn = 0; turn < 3; ++turn) {
    ASSERT_EQ(scan(75, color, oddArea), 0);
    expectRaster({75, true, 20, 48, 229, 264});
    plugInAgain();
  }
}

TEST_F(Kernel, MeetsAnUnpluggingAnywhereInAJob) {
  for (const std::uint32_t n : {1U, 2U, 5U, 7U, 9U, 13U}) {
    SCOPED_TRACE(n);
    plugInWith({{FaultKind::unplug, n}});
    EXPECT_EQ(scanPage(), kIOReturnNoDevice);
    EXPECT_EQ(image().rowCount, 0U);
    expectRecovery();
  }
}

TEST_F(Kernel, MeetsAStallAmidThePage) {
  plugInWith({{FaultKind::stall, 8}});
  EXPECT_EQ(scanPage(), 0);
  expectRasterCutAt(firstRead);
  EXPECT_THAT(calls(), Contains("system.exitHostUSBSendMode"));
  expectRecovery();
}

TEST_F(Kernel, MeetsATimeOutAmidThePage) {
  plugInWith({{FaultKind::timeOut, 8}});
  EXPECT_EQ(scanPage(), 0);
  expectRasterCutAt(firstRead);
  expectRecovery();
}

TEST_F(Kernel, MeetsSilenceBeforeThePage) {
  plugInWith({{FaultKind::silence, 3}});
  EXPECT_EQ(scanPage(), 0);
  expectRaster(page_);
}

// The library then waits for a page that never arrives, until the device is unplugged.
TEST_F(Kernel, MeetsWhatLosesTheNameOfTheJob) {
  for (const FaultKind kind : {FaultKind::exceptionReply, FaultKind::shortWrite, FaultKind::splitReply,
                               FaultKind::garbageReply, FaultKind::timeOut}) {
    SCOPED_TRACE(describe(kind).name);
    plugInWith({{kind, 2}, {FaultKind::unplug, 12}});
    testing::internal::CaptureStderr();
    EXPECT_EQ(scanPage(), kIOReturnNoDevice);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(calls(), Not(Contains("system.exitHostUSBSendMode")));
    expectRecovery();
  }
}

TEST_F(Kernel, MeetsGarbageInThePage) {
  plugInWith({{FaultKind::garbage, 100000}});
  EXPECT_EQ(scanPage(), 0);
  expectRasterCutAt(100000);
  expectRecovery();
}

TEST_F(Kernel, MeetsAnImageCutShort) {
  plugInWith({{FaultKind::truncatedImage, 100500}});
  EXPECT_EQ(scanPage(), 0);
  expectRasterCutAt(100500);
  expectRecovery();
}

TEST_F(Kernel, MeetsAWrongHeader) {
  plugInWith({{FaultKind::wrongHeader, 2}});
  EXPECT_EQ(scanPage(), 0);
  EXPECT_EQ(image().length, 0U);
  expectRecovery();
}

}  // namespace
