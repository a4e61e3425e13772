#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "EmulatedUsbfs.h"
#include "PageImage.h"
#include "ProgramFixture.h"

// A scanner on the emulated USB, and the program that uses it.
class UsbCommandLine : public ProgramFixture {
 protected:
  UsbCommandLine() {
    setenv("LD_PRELOAD", "libumockdev-preload.so.0", 1);
    // The sanitizers insist on being the first library of a program, which they are not with the preload.
    const char* before = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS",
           ((before != nullptr ? before + std::string(":") : "") + "verify_asan_link_order=0").c_str(), 1);
  }
  ~UsbCommandLine() override {
    if (usbfs_ != nullptr) {
      EXPECT_EQ(usbfs_->requestsInFlight(), 0U);
    }
    unsetenv("LD_PRELOAD");
  }

  void plugIn(EmulatedUsbfs::Options options = {}, std::vector<virtualscanner::Fault> faults = {}) {
    virtualscanner::ScannerOptions kind;
    kind.packetPayload = 1000;
    kind.faults = std::move(faults);
    scanner_ = std::make_unique<virtualscanner::VirtualScanner>(virtualscanner::Paper::testChart(), kind);
    usbfs_ = std::make_unique<EmulatedUsbfs>(*scanner_, options);
  }
  ProgramResult scanUsb(const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"scan", "-o", path, "-r", "75", "-m", "gray", "-q", "--timeout", "1"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runProgram(arguments);
  }
  void expectWholePage() {
    const std::vector<std::uint8_t> page =
        virtualscanner::paintPage(virtualscanner::Paper::testChart(), {75, false, 0, 0, 637, 876});
    const std::string content = contentOf(path);
    ASSERT_GT(content.size(), page.size());
    EXPECT_TRUE(std::equal(page.begin(), page.end(), content.end() - static_cast<std::ptrdiff_t>(page.size()),
                           content.end(),
                           [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }));
  }
  // Removes the fault and plugs the scanner in again.
  void repair() {
    bool pluggedIn = true;
    usbfs_->withScanner([&pluggedIn](virtualscanner::VirtualScanner& scanner) {
      scanner.setFaults({});
      pluggedIn = scanner.pluggedIn();
    });
    if (!pluggedIn) usbfs_->plugIn();
  }

  std::string path = folder / "page.pnm";
  std::unique_ptr<virtualscanner::VirtualScanner> scanner_;
  std::unique_ptr<EmulatedUsbfs> usbfs_;
};
