#pragma once

#include <cstdint>

#include "UsbStack.h"

namespace frontend {

// Is told of every transfer that goes to the device, on the thread that does it.
class TransferObserver {
 public:
  // `mayBeAborted`: whether the scan may lose this transfer to a cancel.
  virtual void begins(platform::UsbInterface& interface, std::uint8_t pipe, bool mayBeAborted) = 0;
  // The one that began last is over; its interface may go now.
  virtual void ends() = 0;

 protected:
  ~TransferObserver() = default;
};

}  // namespace frontend
