#pragma once

#include <memory>

#include "ForwardingUsbStack.h"

// A stack over another one that divides every transfer's time-outs and passes everything else on. For drivers
// whose time-outs are fixed and long.
//
// Ownership and threads as for ForwardingUsbStack.
class HurriedUsbStack final : public platform::ForwardingUsbStack {
 public:
  HurriedUsbStack(platform::UsbStack& stack, std::uint32_t divisor)
      : ForwardingUsbStack(stack), divisor_(divisor) {}

 protected:
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override;

 private:
  class Interface;

  std::uint32_t hurried(std::uint32_t timeoutMs) const {
    return timeoutMs == 0 ? 0 : timeoutMs / divisor_ + 1;
  }

  std::uint32_t divisor_;
};
