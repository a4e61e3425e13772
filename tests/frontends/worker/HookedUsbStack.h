#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "ForwardingUsbStack.h"

// A stack over another one that calls a function with the number (from 1) of each transfer, before it is
// done:
//
//   HookedUsbStack stack(virtualStack, [&](int transfer) { if (transfer == 5) cancel.request(); });
//
// Everything passes unchanged.
class HookedUsbStack final : public platform::ForwardingUsbStack {
 public:
  HookedUsbStack(platform::UsbStack& inner, std::function<void(int)> hook)
      : ForwardingUsbStack(inner), hook_(std::move(hook)) {}

  int transfers() const { return transfers_; }

 protected:
  std::unique_ptr<platform::ForwardingUsbInterface> wrap(platform::UsbInterface& interface) override {
    return std::make_unique<Interface>(*this, interface);
  }

 private:
  class Interface final : public platform::ForwardingUsbInterface {
   public:
    Interface(HookedUsbStack& stack, platform::UsbInterface& inner)
        : ForwardingUsbInterface(stack, inner), stack_(stack) {}
    platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                  std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override {
      stack_.hook_(++stack_.transfers_);
      return inner().readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
    }
    platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                   std::uint32_t noDataTimeoutMs,
                                   std::uint32_t completionTimeoutMs) override {
      stack_.hook_(++stack_.transfers_);
      return inner().writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
    }

   private:
    HookedUsbStack& stack_;
  };

  std::function<void(int)> hook_;
  int transfers_ = 0;
};
