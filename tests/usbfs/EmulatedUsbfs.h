#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "VirtualScanner.h"

// An emulation of the files through which Linux gives programs access to one virtual Q750: a device below
// /sys and a node below /dev/bus/usb whose requests a VirtualScanner performs, for this process and those
// that it starts under umockdev-wrapper. While it exists, the process can access no other USB device.
//
//   EmulatedUsbfs usbfs(scanner, {});
//   platform::LibusbStack stack;   // must go first
//
// Requests are performed on the emulation's own thread, so the scanner, which stays the caller's, may be used
// through withScanner() only. Any thread may call the functions below. One object at a time in a process. A
// failure of the emulation itself fails the test.
class EmulatedUsbfs {
 public:
  struct Options {
    bool largeRequests = true;  // whether the kernel takes requests of any size
    bool kernelDriver = false;  // whether a kernel driver holds the interface
    bool inUse = false;         // whether another program does
    bool forbidden = false;     // whether only a privileged user may open the node
  };

  EmulatedUsbfs(virtualscanner::VirtualScanner& scanner, Options options);
  ~EmulatedUsbfs();
  EmulatedUsbfs(const EmulatedUsbfs&) = delete;
  EmulatedUsbfs& operator=(const EmulatedUsbfs&) = delete;

  // Also while a request is in progress, which then ends.
  void unplug();
  // Plugs it in again, under another number on the bus, as a kernel does.
  void plugIn();
  // Runs `work` on the scanner, and then lets requests continue that waited for it.
  void withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work);

  // Blocks until the host waits for the end of its n-th bulk request, or a later one.
  void awaitRequest(std::uint64_t nth = 1);
  // Adds a device to the system that can be listed and not used.
  void addNeighbour(int bus, const std::string& portPath, std::uint16_t vendor, std::uint16_t product);
  // Removes the node of the device permanently and leaves the device itself, as in some containers.
  void hideNode();
  // The next requests, control ones included, end with this status (a negative error number) and do not
  // reach the device.
  void failNext(int requests, int status);
  // The next requests end as those of a device that was just unplugged; then the system has detected it.
  void fade(int requests);
  // Runs `work` at the very moment at which the host cancels its next request: one that ends because of it is
  // nevertheless reported as cancelled, which may happen with a kernel.
  void beforeNextCancel(std::function<void(virtualscanner::VirtualScanner&)> work);

  // Requests for bulk transfers so far, and their largest.
  struct Statistics {
    std::uint64_t bulkRequests = 0;
    std::uint32_t largestRequest = 0;
    std::uint64_t calls = 0;  // all ioctls
  };
  Statistics statistics() const;
  // Requests that the host has submitted and neither reaped nor cancelled.
  std::size_t requestsInFlight() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};
