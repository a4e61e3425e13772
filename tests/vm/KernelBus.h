#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "OwnedDescriptor.h"
#include "VirtualScanner.h"

// A virtual scanner plugged into the USB of the running kernel, through its virtual host controller
// (vhci-hcd), which takes USB/IP from any socket. For machines that exist for this alone, and for root:
//
//   KernelBus bus(scanner);
//   bus.plugIn();                  // returns once the kernel has set the device up
//   platform::LibusbStack stack;
//   bus.unplug();
//
// Requests are answered on a thread of the object's own; the scanner must not be touched while it is plugged
// in but through withScanner(). One at a time in a machine.
class KernelBus {
 public:
  explicit KernelBus(virtualscanner::VirtualScanner& scanner) : scanner_(scanner) {}
  ~KernelBus() { unplug(); }
  KernelBus(const KernelBus&) = delete;
  KernelBus& operator=(const KernelBus&) = delete;

  void plugIn();
  // Pulls the plug at once, whatever is under way, and returns once the kernel has given the device up.
  void unplug();
  // Only pulls it.
  void pull();

  void withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work);
  // A file of the device below /sys, without its last newline; empty where there is none.
  static std::string attribute(const std::string& name);

 private:
  void serve();

  virtualscanner::VirtualScanner& scanner_;
  std::mutex mutex_;  // guards the scanner
  platform::OwnedDescriptor socket_;
  std::thread thread_;
};
