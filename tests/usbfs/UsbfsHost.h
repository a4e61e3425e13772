#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CallLog.h"
#include "DeviceHost.h"
#include "EmulatedUsbfs.h"
#include "LibusbStack.h"
#include "StackUser.h"

// A host with the virtual Q750 on its emulated usbfs, which it reaches through the LibusbStack:
//
//   plugIn();
//   open();
//   auto bytes = startStream(request);          // what the device will send
//   EXPECT_EQ(read(dataPipe, 512, 30, 1000), kIOReturnSuccess);
//
// At the end, expects that the system holds no request and that no descriptor of the device is open.
class UsbfsHost : public testing::Test {
 protected:
  static constexpr std::uint8_t outPipe = 1, replyPipe = 2, dataPipe = 3;

  ~UsbfsHost() override { unplugAll(); }

  void plugIn(EmulatedUsbfs::Options options = {}, virtualscanner::ScannerOptions kind = {}) {
    unplugAll();
    scanner_ = std::make_unique<virtualscanner::VirtualScanner>(virtualscanner::Paper::testChart(), kind);
    calls_ = recordCalls(*scanner_);
    usbfs_ = std::make_unique<EmulatedUsbfs>(*scanner_, options);
    stack_ = std::make_unique<platform::LibusbStack>();
  }
  void open() {
    interface_ = StackUser(*stack_).interface();
    ASSERT_NE(interface_, nullptr);
    ASSERT_EQ(interface_->open(), platform::kIOReturnSuccess);
  }
  void unplugAll() {
    interface_.reset();
    if (usbfs_ != nullptr) {
      EXPECT_EQ(usbfs_->requestsInFlight(), 0U);
      EXPECT_EQ(openNodes(), 0U);
    }
    stack_.reset();
    usbfs_.reset();
  }

  // Descriptors of the device that this process has open, without the emulation's own.
  static std::size_t openNodes() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code gone;
      const std::string target = std::filesystem::read_symlink(entry.path(), gone);
      if (target.find("/dev/bus/usb/") != std::string::npos) ++count;
    }
    return count - 1;
  }

  // Makes the device stream a page and returns the bytes of the stream.
  std::vector<std::uint8_t> startStream(const virtualscanner::PageRequest& request) {
    virtualscanner::VirtualScanner twin(virtualscanner::Paper::testChart(), scanner_->options());
    twin.setFaults({});
    DeviceHost host(twin);
    EXPECT_TRUE(host.startJob(request));
    usbfs_->withScanner([&request](virtualscanner::VirtualScanner& scanner) {
      EXPECT_TRUE(DeviceHost(scanner).startJob(request));
    });
    return host.readStream();
  }

  platform::IOReturn read(std::uint8_t pipe, std::uint32_t capacity, std::uint32_t noDataMs,
                          std::uint32_t completionMs) {
    received_.assign(capacity, 0);
    std::uint32_t size = capacity;
    const auto start = std::chrono::steady_clock::now();
    const platform::IOReturn status =
        interface_->readPipeTO(pipe, received_.data(), &size, noDataMs, completionMs);
    elapsedMs_ =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start)
            .count();
    received_.resize(size);
    return status;
  }
  // Without a time-out: something else must end it.
  platform::IOReturn readForEver(std::uint8_t pipe, std::uint32_t capacity) {
    return read(pipe, capacity, 0, 0);
  }
  platform::IOReturn write(const std::vector<std::uint8_t>& bytes, std::uint32_t noDataMs = 0,
                           std::uint32_t completionMs = 0) {
    return interface_->writePipeTO(outPipe, bytes.data(), static_cast<std::uint32_t>(bytes.size()), noDataMs,
                                   completionMs);
  }
  std::vector<std::uint8_t> exitCall() {
    return DeviceHost(*scanner_).framed("system", "exitHostUSBSendMode", {});
  }

  std::unique_ptr<virtualscanner::VirtualScanner> scanner_;
  CallLog calls_;  // of the scanner
  std::unique_ptr<EmulatedUsbfs> usbfs_;
  std::unique_ptr<platform::LibusbStack> stack_;
  StackUser::Interface interface_;
  std::vector<std::uint8_t> received_;
  std::int64_t elapsedMs_ = 0;
};
