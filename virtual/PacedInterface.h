#pragma once

#include <cstdint>

#include "PacedUsbStack.h"

namespace virtualscanner {

// One interface object of a PacedUsbStack.
class PacedInterface final : public platform::ForwardingUsbInterface {
 public:
  PacedInterface(PacedUsbStack& stack, platform::UsbInterface& inner)
      : ForwardingUsbInterface(stack, inner), stack_(stack) {}

  platform::IOReturn abortPipe(std::uint8_t pipe) noexcept override;
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs,
                                std::uint32_t completionTimeoutMs) noexcept override;
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs,
                                 std::uint32_t completionTimeoutMs) noexcept override;

 private:
  bool isDataPipe(std::uint8_t pipe);
  bool waitLikeTheStack(std::uint64_t sinceMs, std::uint8_t pipe);

  PacedUsbStack& stack_;
  std::uint32_t warmUpLeftMs_ = 0;  // of the next picture
};

}  // namespace virtualscanner
