#pragma once

#include <mutex>

#include "ThreadActivity.h"
#include "TransferObserver.h"

namespace frontend {

// The transfer that the scanning thread waits for, so that another thread can end it. The stack below must
// let any thread abort a pipe.
class TransferInFlight final : public TransferObserver {
 public:
  explicit TransferInFlight(ThreadActivity& activity) : activity_(activity) {}

  void begins(platform::UsbInterface& interface, std::uint8_t pipe, bool mayBeAborted) override;
  void ends() override;

  // Ends the transfer that is under way, if it may be. From any thread. Not heard by one that begins at this
  // very moment: to be repeated.
  void abort();

 private:
  ThreadActivity& activity_;
  std::mutex mutex_;
  platform::UsbInterface* interface_ = nullptr;  // null while there is none to abort
  std::uint8_t pipe_ = 0;
};

}  // namespace frontend
