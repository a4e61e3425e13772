#include "PacedInterface.h"

#include <algorithm>

#include "Descriptors.h"

namespace virtualscanner {
namespace {

using namespace platform;

// The longest pause between two pieces of a rate-limited picture.
constexpr std::uint32_t flowMs = 50;

}  // namespace

// Never aborts the inner pipe: its stack is for one thread, and its transfers end before their calls return.
IOReturn PacedInterface::abortPipe(std::uint8_t pipe) noexcept {
  stack_.abort(pipe);
  return kIOReturnSuccess;
}

bool PacedInterface::isDataPipe(std::uint8_t pipe) {
  PipeProperties properties{};
  return inner().getPipeProperties(pipe, &properties) == kIOReturnSuccess &&
         properties.direction == PipeDirection::in &&
         properties.endpointNumber == usb::endpointNumber(dataEndpoint);
}

bool PacedInterface::waitLikeTheStack(std::uint64_t sinceMs, std::uint8_t pipe) {
  const std::uint64_t waited = stack_.virtualStack_.nowMs() - sinceMs;
  return !stack_.pace_.realTime || waited == 0 || stack_.pass(PacedUsbStack::Milliseconds(waited), pipe);
}

IOReturn PacedInterface::readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                    std::uint32_t noDataTimeoutMs,
                                    std::uint32_t completionTimeoutMs) noexcept {
  const bool data = isDataPipe(pipe);
  if (data && warmUpLeftMs_ > 0) {
    const std::uint32_t wait =
        noDataTimeoutMs == 0 ? warmUpLeftMs_ : std::min(warmUpLeftMs_, noDataTimeoutMs);
    warmUpLeftMs_ -= wait;
    const bool passed = stack_.pass(PacedUsbStack::Milliseconds(wait), pipe);
    if (!passed || warmUpLeftMs_ > 0) *size = 0;
    if (!passed) return kIOReturnAborted;
    if (warmUpLeftMs_ > 0) return kIOUSBTransactionTimeout;
  }
  const std::uint32_t rate = data ? stack_.pace_.bytesPerSecond : 0;
  if (rate > 0) {
    // Whole packets only: anything else would be an overrun.
    const std::uint64_t packets = std::uint64_t{rate} * flowMs / 1000 / bulkPacketSize;
    const std::uint64_t room = std::max<std::uint64_t>(packets, 1) * bulkPacketSize;
    if (*size > room) *size = static_cast<std::uint32_t>(room);
  }
  const std::uint64_t before = stack_.virtualStack_.nowMs();
  const IOReturn status = inner().readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  if (!waitLikeTheStack(before, pipe)) return kIOReturnAborted;
  const PacedUsbStack::Milliseconds flow(rate > 0 ? std::uint64_t{*size} * 1000 / rate : 0);
  return flow.count() == 0 || stack_.pass(flow, pipe) ? status : kIOReturnAborted;
}

IOReturn PacedInterface::writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                     std::uint32_t noDataTimeoutMs,
                                     std::uint32_t completionTimeoutMs) noexcept {
  warmUpLeftMs_ = stack_.pace_.warmUpMs;
  const std::uint64_t before = stack_.virtualStack_.nowMs();
  const IOReturn status = inner().writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  return waitLikeTheStack(before, pipe) ? status : kIOReturnAborted;
}

}  // namespace virtualscanner
