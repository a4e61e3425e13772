#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CScannerDriver.h"
#include "CallLog.h"
#include "DriverHandle.h"
#include "Log.h"
#include "ScannerInterface.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

// A host application that scans from a virtual Q750 through the exported C functions:
//
//   plugIn({});
//   EXPECT_EQ(scan({75, grey, wholePage}), 0);
//   EXPECT_EQ(raster(), ...);
class ScanHost : public testing::Test {
 protected:
  static constexpr int grey = 2;
  static constexpr int color = 0;

  // Edges in 1/1200 inch.
  struct Area {
    std::uint32_t left, top, right, bottom;
  };
  static constexpr Area wholePage{0, 0, 10200, 14028};
  static constexpr Area oddArea{333, 777, 4001, 5005};

  struct Settings {
    int resolution;
    int mode;
    Area area;
  };

  ScanHost() { platform::useLogSink(&quiet_); }
  ~ScanHost() override {
    disable();
    platform::useUsbStack(nullptr);
    platform::useLogSink(nullptr);
  }

  // Puts a scanner with these options on the bus and enables it.
  void plugIn(virtualscanner::ScannerOptions options) {
    disable();
    stack_.reset();
    scanner_ = std::make_unique<virtualscanner::VirtualScanner>(paper_, std::move(options));
    calls_ = recordCalls(*scanner_);
    stack_ = std::make_unique<virtualscanner::VirtualUsbStack>(*scanner_);
    platform::useUsbStack(stack_.get());
    enable();
  }
  void enable() { handle_ = EnableScanner(); }
  void disable() {
    if (handle_ == 0) return;
    const bool open = driver().deviceOpen();
    const std::size_t before = stack_->unreleased().total();
    EXPECT_EQ(DisableScanner(handle_), 1);
    handle_ = 0;
    // A driver whose device vanished during a page does not close anything.
    EXPECT_EQ(stack_->unreleased().total(), before - (open ? 1 : 0));
  }

  int scan(const Settings& settings) {
    const auto& [left, top, right, bottom] = settings.area;
    EXPECT_EQ(SetScanParameterEx(handle_, settings.resolution, settings.resolution, settings.mode, left, top,
                                 right, bottom),
              1);
    return StartScan(handle_);
  }

  const CScannerDriver& driver() const { return driverBehind(handle_); }
  std::vector<std::uint8_t> raster() const {
    const ConvertedImage& image = driver().convertedImage();
    return {image.pixels, image.pixels + image.length};
  }

  // Reads until `total` bytes were reported, `chunk` bytes at a time, over a background of 0x77.
  std::vector<std::uint8_t> readImage(std::size_t total, std::uint32_t chunk) {
    std::vector<std::uint8_t> bytes(total + chunk, 0x77);
    std::size_t got = 0;
    while (got < total) {
      std::uint32_t delivered = 0;
      EXPECT_EQ(ReadImage(handle_, &bytes[got], chunk, &delivered), 0);
      if (delivered == 0 || delivered > chunk) {
        ADD_FAILURE() << delivered << " bytes delivered";
        break;
      }
      got += delivered;
    }
    bytes.resize(total);
    return bytes;
  }

  std::shared_ptr<const virtualscanner::Paper> paper_ = virtualscanner::Paper::testChart();
  std::unique_ptr<virtualscanner::VirtualScanner> scanner_;
  CallLog calls_;  // of the scanner
  std::unique_ptr<virtualscanner::VirtualUsbStack> stack_;
  intptr_t handle_ = 0;

 private:
  struct QuietSink final : platform::LogSink {
    void line(const platform::LogLine&) override {}
  };
  QuietSink quiet_;
};
