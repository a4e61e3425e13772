#pragma once

#include <memory>

#include "ForwardingUsbStack.h"

// Another stack whose time passes faster: every transfer's time-outs are divided before they reach it, and
// everything else is passed on. For drivers whose time-outs are fixed and long.
//
// It owns what it hands out: what its user drops without release goes with it.
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
