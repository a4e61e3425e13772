#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "OwnedDescriptor.h"
#include "VirtualScanner.h"

// A virtual scanner plugged into the running kernel's USB, through its virtual host controller (vhci-hcd),
// which accepts USB/IP on any socket. For root, on machines that exist for this test only:
//
//   KernelBus bus(scanner);
//   bus.plugIn();                  // returns once the kernel has set the device up
//   platform::LibusbStack stack;
//   bus.unplug();
//
// Requests are performed on the object's own thread, so the scanner, which stays the caller's, may be used
// through withScanner() only while it is plugged in. One object at a time in a machine.
class KernelBus {
 public:
  explicit KernelBus(virtualscanner::VirtualScanner& scanner) : scanner_(scanner) {}
  ~KernelBus() { unplug(); }
  KernelBus(const KernelBus&) = delete;
  KernelBus& operator=(const KernelBus&) = delete;

  // Returns once the kernel has set the device up.
  void plugIn();
  // Closes the connection at once, even during a transfer; returns once the kernel has removed the device.
  void unplug();
  // As unplug(), without waiting for the kernel.
  void pull();
  // As pull(), at the moment at which the device receives something for the n-th time from now on; 1 is the
  // next.
  void pullAt(int reception);
  // How often it has received something.
  int receptions() const { return receptions_; }

  void withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work);
  // A file of the device below /sys, without its last newline; empty if there is none.
  static std::string attribute(const std::string& name);

 private:
  void serve();

  virtualscanner::VirtualScanner& scanner_;
  std::mutex mutex_;  // guards the scanner
  std::atomic<int> receptions_{0};
  std::atomic<int> last_{0};  // the reception at which the device is pulled; 0 for none
  platform::OwnedDescriptor socket_;
  std::thread thread_;
};
