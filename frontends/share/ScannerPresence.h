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

// Follows whether the scanner that is shared is plugged in, for those who announce it. Neither polls nor
// opens the scanner: it looks at the list of scanners once at the beginning and then whenever the system
// reports that a USB device came or went. Whether another program uses the scanner does not matter here.
//
// Owns a thread, which sleeps while nothing is plugged in or out. Where the system reports no such thing,
// what was found at the beginning holds for good and problem() has a sentence for the log. Only the
// constructor throws: std::system_error where the system has no descriptor or thread left. Without memory its
// thread ends the process.
class ScannerPresence {
 public:
  // The scanners that are connected now. Called on the object's thread; may block, for as long as the
  // destructor may.
  using List = std::function<std::vector<ScannerEntry>()>;
  // Called on the object's thread with the name of the scanner, which is empty while it is unplugged: once at
  // the beginning, and after every change. May block, and must not end the object.
  using Listener = std::function<void(const std::string& scanner)>;

  // A scanner that is plugged in is reported by several messages within a few milliseconds; one look, this
  // long after the last of them, finds what they are about.
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
  platform::OwnedDescriptor end_;  // readable from the destructor on
  std::thread thread_;
};

// The scanner in a list that this device name means; empty if it is not there.
std::string presentScanner(const std::vector<ScannerEntry>& scanners, const std::string& device);

}  // namespace frontend::share
