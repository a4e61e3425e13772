#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "Descriptors.h"
#include "DeviceHost.h"
#include "EmulatedUsbfs.h"
#include "Fault.h"
#include "Scans.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using testing::HasSubstr;

ScanRequest usbScan() {
  ScanRequest request = scans::small();
  request.scanner = "usb";
  return request;
}

// A scanner that is on USB from the worker's point of view.
class SupervisedOverUsb : public testing::Test {
 protected:
  SupervisedOverUsb() { setenv("LD_PRELOAD", Q750_PRELOAD, 1); }
  ~SupervisedOverUsb() override { unsetenv("LD_PRELOAD"); }

  void inject(const char* fault) {
    usbfs.withScanner([fault](virtualscanner::VirtualScanner& device) {
      device.setFaults({*virtualscanner::parseFault(fault)});
    });
  }
  void expectGoodScan() {
    inject("stall@1000000");
    SupervisedScan scan(usbScan(), Q750_WORKER);
    EXPECT_TRUE(scans::readAll(scan) == scans::page(usbScan())) << "the rows are the page";
    EXPECT_TRUE(scan.outcome().good()) << scan.outcome().sentence;
    scan.finish();
    EXPECT_TRUE(scan.workerEndedWell());
  }

  static virtualscanner::ScannerOptions kind() {
    virtualscanner::ScannerOptions options;
    options.transferBytes = 20480;
    return options;
  }

  virtualscanner::VirtualScanner scanner{virtualscanner::Paper::testChart(), kind()};
  EmulatedUsbfs usbfs{scanner, {}};
};

TEST_F(SupervisedOverUsb, ScansDeliverThePage) {
  expectGoodScan();
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, AStalledPipeIsClearedForTheNextScan) {
  inject("stall@9");
  SupervisedScan scan(usbScan(), Q750_WORKER);
  scans::readAll(scan);
  EXPECT_EQ(scan.outcome().status, ScanStatus::ioError) << scan.outcome().sentence;
  scan.finish();
  EXPECT_TRUE(scan.workerEndedWell());
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, AScannerThatStaysSilentIsGivenUp) {
  inject("truncated-image@100000");
  ScanRequest request = usbScan();
  request.timeout = 500ms;
  SupervisedScan scan(request, Q750_WORKER);
  scans::readAll(scan);
  EXPECT_EQ(scan.outcome().status, ScanStatus::timedOut) << scan.outcome().sentence;
  scan.finish();
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, AScannerThatIsPulledOutIsTold) {
  inject("truncated-image@100000");
  {
    SupervisedScan scan(usbScan(), Q750_WORKER);
    std::vector<std::uint8_t> buffer(1000);
    ASSERT_GT(scan.read(buffer.data(), buffer.size()), 0U);
    usbfs.unplug();
    scans::readAll(scan);
    EXPECT_EQ(scan.outcome().status, ScanStatus::noDevice) << scan.outcome().sentence;
    EXPECT_THAT(scan.outcome().sentence, HasSubstr("was disconnected"));
  }
  usbfs.plugIn();
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, ACancelEndsATransferUnderWayAndLeavesNothingStale) {
  inject("truncated-image@100000");
  SupervisedScan scan(usbScan(), Q750_WORKER);
  std::vector<std::uint8_t> buffer(1000);
  ASSERT_GT(scan.read(buffer.data(), buffer.size()), 0U);
  const auto start = scans::Clock::now();
  scan.cancel();
  EXPECT_EQ(scan.read(buffer.data(), buffer.size()), 0U);
  EXPECT_LT(scans::since(start), 1s);
  scan.finish();
  EXPECT_LT(scans::since(start), 3s);
  EXPECT_TRUE(scan.workerEndedWell());
  EXPECT_EQ(scan.outcome().status, ScanStatus::cancelled);
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, ACancelAtAnyRequestLeavesNothingStale) {
  for (std::uint64_t nth = 1; nth <= 12; ++nth) {
    const std::uint64_t before = usbfs.statistics().bulkRequests;
    inject("truncated-image@100000");
    SupervisedScan scan(usbScan(), Q750_WORKER);
    while (usbfs.statistics().bulkRequests < before + nth) std::this_thread::yield();
    scan.cancel();
    scans::readAll(scan);
    EXPECT_EQ(scan.outcome().status, ScanStatus::cancelled);
    scan.finish();
    EXPECT_TRUE(scan.workerEndedWell()) << nth;
    EXPECT_EQ(usbfs.requestsInFlight(), 0U) << nth;
    expectGoodScan();
  }
}

// The state that a host leaves when it dies during a scan: replies and a picture wait to be read, and half a
// request was written.
TEST_F(SupervisedOverUsb, WhatAnotherHostLeftDoesNoHarm) {
  using virtualscanner::requestEndpoint;
  usbfs.withScanner([](virtualscanner::VirtualScanner& device) {
    DeviceHost host(device);
    ASSERT_TRUE(host.startJob({75, false, 0, 0, 100, 100}));
    const auto request = host.framed("system", "exitHostUSBSendMode", {});
    device.write(requestEndpoint, request.data(), request.size());
    device.write(requestEndpoint, request.data(), request.size() / 2);
  });
  expectGoodScan();
}

TEST_F(SupervisedOverUsb, NoScannerIsTold) {
  usbfs.unplug();
  SupervisedScan scan(usbScan(), Q750_WORKER);
  scans::readAll(scan);
  EXPECT_EQ(scan.outcome().status, ScanStatus::noDevice);
  EXPECT_THAT(scan.outcome().sentence, HasSubstr("No scanner was found."));
}

}  // namespace
