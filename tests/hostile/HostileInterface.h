#pragma once

#include <array>
#include <cstdint>

#include "ForwardingUsbInterface.h"
#include "HostileUsbStack.h"

namespace hostile {

// One interface object of a HostileUsbStack, which decides what it does.
class HostileInterface final : public platform::ForwardingUsbInterface {
 public:
  static const std::array<platform::IOReturn, 10> statuses;  // that anything may end with

  HostileInterface(HostileUsbStack& stack, platform::UsbInterface& inner)
      : ForwardingUsbInterface(stack, inner), stack_(stack) {}

  // Each as the honest device's, or distorted. They block for nothing; time-outs take DeviceTime.
  platform::IOReturn open() noexcept override;
  platform::IOReturn getNumEndpoints(std::uint8_t* count) noexcept override;
  platform::IOReturn setAlternateInterface(std::uint8_t setting) noexcept override;
  platform::IOReturn getPipeProperties(std::uint8_t pipe,
                                       platform::PipeProperties* properties) noexcept override;
  platform::IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept override;
  platform::IOReturn abortPipe(std::uint8_t pipe) noexcept override;
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs,
                                 std::uint32_t completionTimeoutMs) noexcept override;
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs,
                                std::uint32_t completionTimeoutMs) noexcept override;

 private:
  Dice& dice() { return stack_.dice_; }
  bool failsElsewhere() { return stack_.failsElsewhere_ && dice().oneIn(3); }
  platform::IOReturn fetch(std::uint8_t pipe, HostileUsbStack::Channel& channel,
                           std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs);
  bool distorts(bool reply);
  platform::IOReturn deliver(HostileUsbStack::Channel& channel, std::uint8_t* buffer, std::uint32_t capacity,
                             std::uint32_t* size, std::uint32_t noDataTimeoutMs);
  platform::IOReturn read(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                          std::uint32_t completionTimeoutMs);

  HostileUsbStack& stack_;
};

}  // namespace hostile
