#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

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
    bool forbidden = false;     // whether nobody may open the node but who may do everything
  };

  EmulatedUsbfs(virtualscanner::VirtualScanner& scanner, Options options);
  ~EmulatedUsbfs();
  EmulatedUsbfs(const EmulatedUsbfs&) = delete;
  EmulatedUsbfs& operator=(const EmulatedUsbfs&) = delete;

  // While a request is under way or none is.
  void unplug();
  // Under another number on the bus, as a kernel does it.
  void plugIn();
  // Does something to the scanner, and lets what waits for it go on.
  void withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work);

  // Blocks until the host waits for the end of its n-th bulk request, or a later one.
  void awaitRequest(std::uint64_t nth = 1);
  // As if the system had one more device; it cannot be used.
  void addNeighbour(int bus, const std::string& portPath, std::uint16_t vendor, std::uint16_t product);
  // Takes the node of the device away and leaves the device, as a container may show it. For good.
  void hideNode();
  // The next requests, control ones included, end with this status (a negative error number) and do not reach
  // the device.
  void failNext(int requests, int status);
  // They end as on a device just pulled out, and then the system has noticed.
  void fade(int requests);
  // Happens at the very moment at which the host takes its next request back: one that ends thereby counts as
  // taken back all the same, as a kernel may have it.
  void beforeNextTakeBack(std::function<void(virtualscanner::VirtualScanner&)> work);

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
