#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "PageImage.h"
#include "ScanHost.h"

namespace {

using namespace virtualscanner;
using platform::kIOReturnNoDevice;
using testing::Contains;
using testing::Not;

// Faults seen from the host, over a page of 637 x 876 grey pixels: transfers 1 to 6 are three calls and their
// replies, the page then takes six reads of the data pipe (7 to 12), the next one (13) runs into its
// time-out, and the last two calls are transfers 14 to 17.
class EndToEndFaults : public ScanHost {
 protected:
  static constexpr Settings page{75, grey, wholePage};
  const PageRequest request_{75, false, 0, 0, 637, 876};
  static constexpr std::uint32_t payload = 1000;

  // For a page that never arrives, the library would read forever, so the device is finally unplugged.
  void plugInWith(std::vector<Fault> faults) {
    faults.push_back({FaultKind::unplug, 300});
    ScannerOptions options;
    options.packetPayload = payload;
    options.faults = std::move(faults);
    plugIn(options);
  }

  // The raster when only this many image bytes, header included, arrived in whole packets.
  std::vector<std::uint8_t> rasterCutAt(std::size_t imageBytes) const {
    std::vector<std::uint8_t> raster = paintPage(paper_, request_);
    const std::size_t arrived = imageBytes / payload * payload - imageHeader(request_).size();
    if (arrived < raster.size())
      std::fill(raster.begin() + static_cast<std::ptrdiff_t>(arrived), raster.end(), 0);
    return raster;
  }
  void expectWholePage() { EXPECT_TRUE(raster() == paintPage(paper_, request_)); }

  // Whatever happened: after the host closed the device and opened it again, everything works.
  void expectRecovery() {
    disable();
    scanner_->setFaults({{FaultKind::unplug, 300}});
    scanner_->plugIn();
    enable();
    ASSERT_EQ(scan(page), 0);
    expectWholePage();
  }
};

TEST_F(EndToEndFaults, NoneTakesTheTransfersAndTheTimeOfTheTable) {
  plugInWith({});
  EXPECT_EQ(scan(page), 0);
  expectWholePage();
  EXPECT_EQ(scanner_->transfers(), 17U);
  EXPECT_EQ(stack_->nowMs(), 15000U) << "the silence at the end of the page";
  EXPECT_EQ(calls_->size(), 5U);
}

// Image bytes in whole packets of the first read of 102400 bytes.
constexpr std::size_t firstRead = (102400 - 16) / 1008 * 1000;

TEST_F(EndToEndFaults, AStalledDataPipeEndsThePageWithWhatArrived) {
  plugInWith({{FaultKind::stall, 8}});
  EXPECT_EQ(scan(page), 0);
  EXPECT_TRUE(raster() == rasterCutAt(firstRead));
  EXPECT_THAT(*calls_, Contains("system.exitHostUSBSendMode"));
  expectRecovery();
}

TEST_F(EndToEndFaults, AStallBeforeTheFirstByteIsReadAgainUntilTheDeviceIsGone) {
  for (const std::uint32_t n : {1U, 2U, 3U, 4U, 5U, 7U}) {
    SCOPED_TRACE(n);
    plugInWith({{FaultKind::stall, n}, {FaultKind::unplug, 30}});
    EXPECT_EQ(scan(page), kIOReturnNoDevice);
    EXPECT_FALSE(driver().deviceOpen());
    expectRecovery();
  }
}

TEST_F(EndToEndFaults, ATimeOutWithinThePageEndsItWithWhatArrived) {
  plugInWith({{FaultKind::timeOut, 8}});
  EXPECT_EQ(scan(page), 0);
  EXPECT_TRUE(raster() == rasterCutAt(firstRead));
  expectRecovery();
}

TEST_F(EndToEndFaults, ATimeOutBeforeTheFirstByteIsWaitedOut) {
  plugInWith({{FaultKind::timeOut, 7}});
  EXPECT_EQ(scan(page), 0);
  expectWholePage();
  EXPECT_EQ(stack_->nowMs(), 30000U);
}

TEST_F(EndToEndFaults, SilenceIsWaitedOutHoweverLong) {
  plugInWith({{FaultKind::silence, 100}});
  EXPECT_EQ(scan(page), 0);
  expectWholePage();
  EXPECT_EQ(stack_->nowMs(), 101 * 15000U);
}

TEST_F(EndToEndFaults, SilenceForEverEndsWithTheDevice) {
  plugInWith({{FaultKind::silence, 0}, {FaultKind::unplug, 60}});
  EXPECT_EQ(scan(page), kIOReturnNoDevice);
  expectRecovery();
}

TEST_F(EndToEndFaults, AnUnpluggingUpToTheEndOfThePageIsReportedAndALaterOneIsNot) {
  for (std::uint32_t n = 1; n <= 18; ++n) {
    SCOPED_TRACE(n);
    plugInWith({{FaultKind::unplug, n}});
    const bool duringThePage = n <= 13;
    EXPECT_EQ(scan(page), duringThePage ? kIOReturnNoDevice : 0);
    EXPECT_EQ(driver().deviceOpen(), !duringThePage);
    EXPECT_EQ(driver().convertedImage().rowCount, duringThePage ? 0U : 876U);
    if (n % 4 == 1) expectRecovery();
  }
}

// Calls whose failure loses the name of the job: the call of start then has no object, and the library waits
// for a page that never arrives, until the device is unplugged.
TEST_F(EndToEndFaults, AJobThatCouldNotBeMadeWaitsUntilTheDeviceIsGone) {
  const std::vector<Fault> cases[] = {
      {{FaultKind::exceptionReply, 1}}, {{FaultKind::exceptionReply, 2}}, {{FaultKind::exceptionReply, 3}},
      {{FaultKind::shortWrite, 1}},     {{FaultKind::shortWrite, 2}},     {{FaultKind::shortWrite, 3}},
      {{FaultKind::splitReply, 1}},     {{FaultKind::splitReply, 2}},     {{FaultKind::splitReply, 3}},
      {{FaultKind::garbageReply, 2}},   {{FaultKind::timeOut, 1}},        {{FaultKind::timeOut, 2}},
      {{FaultKind::timeOut, 3}},        {{FaultKind::timeOut, 4}},        {{FaultKind::timeOut, 5}}};
  for (std::vector<Fault> faults : cases) {
    SCOPED_TRACE(textOf(faults[0]));
    faults.push_back({FaultKind::unplug, 20});
    plugInWith(faults);
    testing::internal::CaptureStderr();
    EXPECT_EQ(scan(page), kIOReturnNoDevice);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(*calls_, Not(Contains("system.exitHostUSBSendMode")));
    expectRecovery();
  }
}

TEST_F(EndToEndFaults, RepliesThatTheJobDoesNotNeedMayFail) {
  const std::vector<Fault> cases[] = {
      {{FaultKind::garbageReply, 1}},   {{FaultKind::garbageReply, 3}},   {{FaultKind::timeOut, 6}},
      {{FaultKind::exceptionReply, 4}}, {{FaultKind::exceptionReply, 5}}, {{FaultKind::garbageReply, 4}},
      {{FaultKind::garbageReply, 5}},   {{FaultKind::splitReply, 4}},     {{FaultKind::splitReply, 5}},
      {{FaultKind::shortWrite, 4}},     {{FaultKind::shortWrite, 5}},     {{FaultKind::timeOut, 14}},
      {{FaultKind::timeOut, 15}},       {{FaultKind::timeOut, 16}},       {{FaultKind::timeOut, 17}},
      {{FaultKind::stall, 14}},         {{FaultKind::stall, 15}}};
  for (const std::vector<Fault>& faults : cases) {
    SCOPED_TRACE(textOf(faults[0]));
    plugInWith(faults);
    testing::internal::CaptureStderr();
    EXPECT_EQ(scan(page), 0);
    testing::internal::GetCapturedStderr();
    expectWholePage();
  }
}

TEST_F(EndToEndFaults, GarbageSwallowsTheRestOfThePage) {
  plugInWith({{FaultKind::garbage, 100000}});
  EXPECT_EQ(scan(page), 0);
  EXPECT_TRUE(raster() == rasterCutAt(100000));
  EXPECT_THAT(*calls_, Contains("HostSendJob1.scanJob.done"));
  expectRecovery();
}

TEST_F(EndToEndFaults, ATruncatedImageIsBlackFromItsLastWholePacketOn) {
  plugInWith({{FaultKind::truncatedImage, 100500}});
  EXPECT_EQ(scan(page), 0);
  EXPECT_TRUE(raster() == rasterCutAt(100500));
  expectRecovery();
}

TEST_F(EndToEndFaults, AHeaderWithoutItsCommentIsMisread) {
  plugInWith({{FaultKind::wrongHeader, 1}});
  EXPECT_EQ(scan(page), 0);
  EXPECT_EQ(driver().convertedImage().rowWidthPixels, 255U) << "the maximum value, taken for the size";
  EXPECT_EQ(driver().convertedImage().length, 0U);
  expectRecovery();
}

TEST_F(EndToEndFaults, AnUnknownFormatMakesAnEmptyImage) {
  for (const std::uint32_t kind : {2U, 4U}) {
    plugInWith({{FaultKind::wrongHeader, kind}});
    EXPECT_EQ(scan(page), 0);
    EXPECT_EQ(driver().convertedImage().length, 0U);
    EXPECT_EQ(driver().convertedImage().bytesPerPixel, 0U);
    std::uint8_t buffer[100];
    std::uint32_t delivered = 99;
    EXPECT_EQ(ReadImage(handle_, buffer, sizeof buffer, &delivered), 0);
    EXPECT_EQ(delivered, 0U);
    expectRecovery();
  }
}

TEST_F(EndToEndFaults, AnImpossibleSizeStaysWithinMemory) {
  plugInWith({{FaultKind::wrongHeader, 3}});
  EXPECT_EQ(scan(page), 0);
  const ConvertedImage& image = driver().convertedImage();
  EXPECT_EQ(image.rowWidthPixels, 2147483647U);
  EXPECT_EQ(image.rowCount, 2147483647U);
  EXPECT_EQ(image.length, 1U) << "the product, modulo 2^32";
  const std::vector<std::uint8_t> rows = readImage(637 * 876, 637 * 10);
  EXPECT_EQ(rows, std::vector<std::uint8_t>(637 * 876, 0)) << "bytes that never came";
  expectRecovery();
}

TEST_F(EndToEndFaults, AnImpossibleRequestIsRefusedByTheDevice) {
  plugInWith({{FaultKind::unplug, 20}});
  EXPECT_EQ(scan({1200, grey, wholePage}), kIOReturnNoDevice);
  EXPECT_EQ(scanner_->lastRequest(), std::nullopt);
  expectRecovery();
}

TEST_F(EndToEndFaults, ASecondPageOnTheSameHandleIsNotHarmedByThePageBefore) {
  for (const Fault& fault :
       {Fault{FaultKind::garbage, 5000}, Fault{FaultKind::truncatedImage, 5500}, Fault{FaultKind::timeOut, 9},
        Fault{FaultKind::splitReply, 5}, Fault{FaultKind::shortWrite, 5}, Fault{FaultKind::wrongHeader, 2}}) {
    SCOPED_TRACE(describe(fault.kind).name);
    plugInWith({fault});
    EXPECT_EQ(scan(page), 0);
    EXPECT_EQ(scan(page), 0);
    expectWholePage();
  }
}

}  // namespace
