#pragma once

#include <cstdint>
#include <memory>

#include "VirtualScanner.h"

// The files through which Linux shows one virtual Q750 to programs: a device below /sys and a node below
// /dev/bus/usb whose requests a VirtualScanner answers, for this process and those that it starts under
// umockdev-wrapper. While one lives, the process sees no other USB device.
//
//   EmulatedUsbfs usbfs(scanner, {});
//   platform::LibusbStack stack;   // must go first
//
// Requests are answered on a thread of the emulation; the scanner must not be touched meanwhile but through
// withScanner(). One at a time in a process.
class EmulatedUsbfs {
 public:
  struct Options {
    bool largeRequests = true;  // whether the kernel takes requests of any size
    bool kernelDriver = false;  // whether a kernel driver holds the interface
    bool inUse = false;         // whether another program does
  };

  EmulatedUsbfs(virtualscanner::VirtualScanner& scanner, Options options);
  ~EmulatedUsbfs();
  EmulatedUsbfs(const EmulatedUsbfs&) = delete;
  EmulatedUsbfs& operator=(const EmulatedUsbfs&) = delete;

  void unplug();
  void plugIn();

  // Requests for bulk transfers so far, and their largest.
  struct Statistics {
    std::uint64_t bulkRequests = 0;
    std::uint32_t largestRequest = 0;
    std::uint64_t calls = 0;  // all ioctls
  };
  Statistics statistics() const;
  // Requests that the host has handed in and neither reaped nor taken back.
  std::size_t requestsInFlight() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
