#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "OwnedDescriptor.h"
#include "ScannerList.h"
#include "UsbEvents.h"

namespace frontend::share {

// Monitors whether the shared scanner is plugged in, for its announcement. Neither polls nor opens the
// scanner: it reads the list of scanners once at the start and then whenever the system reports that a USB
// device was plugged in or unplugged. Whether another program uses the scanner does not matter here.
//
// Owns a thread, which sleeps until a device is plugged in or unplugged. If the system does not report this,
// the first result is kept and problem() returns a sentence for the log. Only the constructor throws:
// std::system_error if no descriptor or thread is left. Without memory, its thread ends the process.
class ScannerPresence {
 public:
  // The scanners that are connected now. Called on the object's thread; may block, for as long as the
  // destructor may.
  using List = std::function<std::vector<ScannerEntry>()>;
  // Called on the object's thread with the name of the scanner, which is empty while it is unplugged: once at
  // the start, and after every change. May block, and must not end the object.
  using Listener = std::function<void(const std::string& scanner)>;

  // A scanner that is plugged in is reported by several messages within a few milliseconds; the list is read
  // once, this long after the last of them.
  static constexpr std::chrono::milliseconds settlingTime{100};

  // `device` is the name of a scanner; "usb" or no text mean the first real one, as everywhere.
  ScannerPresence(std::string device, List list, Listener listener);
  // Waits for a call of the list or the listener to end.
  ~ScannerPresence();
  ScannerPresence(const ScannerPresence&) = delete;
  ScannerPresence& operator=(const ScannerPresence&) = delete;

  // Why changes are not noticed; empty if they are.
  std::string problem() const;

 private:
  void follow();
  bool awaitChange();

  std::string device_;
  List list_;
  Listener listener_;
  UsbEvents events_;
  platform::OwnedDescriptor end_;  // readable once the destructor has begun
  std::thread thread_;
};

// The scanner in a list to which this device name refers; empty if it is not listed.
std::string presentScanner(const std::vector<ScannerEntry>& scanners, const std::string& device);

}  // namespace frontend::share
