#pragma once

#include <functional>
#include <memory>
#include <new>
#include <utility>

#include "ForwardingUsbStack.h"

// A stack over another one that calls a function with the number (from 1) of each transfer, before
// it is done:
//
//   HookedUsbStack stack(virtualStack, [&](int transfer) { if (transfer == 5) cancel.request(); });
//
// and, if one is set, another function with its result:
//
//   stack.afterTransfer = [&](const HookedUsbStack::Done& done) { bytes.append(done.bytes, done.moved); };
//
// Everything passes unchanged. A hook may throw std::bad_alloc: the transfer is then kIOReturnNoMemory.
class HookedUsbStack final : public platform::ForwardingUsbStack {
 public:
  HookedUsbStack(platform::UsbStack& inner, std::function<void(int)> hook)
      : ForwardingUsbStack(inner), hook_(std::move(hook)) {}

  struct Done {
    std::uint8_t pipe;
    bool isRead;
    const char* bytes;
    std::uint32_t moved;
    platform::IOReturn status;
  };
  std::function<void(const Done&)> afterTransfer;

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
                                  std::uint32_t noDataTimeoutMs,
                                  std::uint32_t completionTimeoutMs) noexcept override try {
      stack_.hook_(++stack_.transfers_);
      const platform::IOReturn status =
          inner().readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
      if (stack_.afterTransfer)
        stack_.afterTransfer({pipe, true, static_cast<const char*>(buffer), *size, status});
      return status;
    } catch (const std::bad_alloc&) {
      return platform::kIOReturnNoMemory;
    }
    platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                   std::uint32_t noDataTimeoutMs,
                                   std::uint32_t completionTimeoutMs) noexcept override try {
      stack_.hook_(++stack_.transfers_);
      const platform::IOReturn status =
          inner().writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
      if (stack_.afterTransfer)
        stack_.afterTransfer({pipe, false, static_cast<const char*>(buffer), size, status});
      return status;
    } catch (const std::bad_alloc&) {
      return platform::kIOReturnNoMemory;
    }

   private:
    HookedUsbStack& stack_;
  };

  std::function<void(int)> hook_;
  int transfers_ = 0;
};
