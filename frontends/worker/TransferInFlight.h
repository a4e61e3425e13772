#pragma once

#include <cstdint>
#include <mutex>

#include "ThreadActivity.h"
#include "UsbStack.h"

namespace frontend {

// The transfer that the scanning thread waits for, so that another thread can abort it, and with every begin
// and end a sign that the scanning thread is active. The stack below must let any thread abort a pipe.
class TransferInFlight {
 public:
  explicit TransferInFlight(ThreadActivity& activity) : activity_(activity) {}

  // By the scanning thread, around each transfer that reaches the device. `mayBeAborted`: whether the scan
  // may lose this one to a cancel.
  void begins(platform::UsbInterface& interface, std::uint8_t pipe, bool mayBeAborted) noexcept;
  // The interface may go now: no abort uses it any more.
  void ends() noexcept;

  // Aborts the transfer that is under way, if it may be. From any thread. One that begins at this very moment
  // may miss it: repeat the call until the scan is over.
  void abort() noexcept;

 private:
  ThreadActivity& activity_;
  std::mutex mutex_;
  platform::UsbInterface* interface_ = nullptr;  // null while there is none to abort
  std::uint8_t pipe_ = 0;
};

}  // namespace frontend
