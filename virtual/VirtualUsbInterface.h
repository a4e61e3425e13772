#pragma once

#include <cstdint>
#include <set>

#include "VirtualUsbStack.h"

namespace virtualscanner {

// The interface of the one device, as an object of the stack, which owns it and frees it at release().
// Converts what the device does into statuses and waiting time.
class VirtualUsbInterface final : public platform::UsbInterface {
 public:
  // Belongs to the plugging-in that was current when its service was found.
  VirtualUsbInterface(VirtualUsbStack& stack, std::uint32_t connection)
      : stack_(stack), connection_(connection) {}
  VirtualUsbInterface(const VirtualUsbInterface&) = delete;
  VirtualUsbInterface& operator=(const VirtualUsbInterface&) = delete;
  virtual ~VirtualUsbInterface();

  platform::IOReturn open() noexcept override;
  platform::IOReturn close() noexcept override;
  void release() noexcept override;
  platform::IOReturn getNumEndpoints(std::uint8_t* count) noexcept override;
  platform::IOReturn setAlternateInterface(std::uint8_t alternateSetting) noexcept override;
  platform::IOReturn getPipeProperties(std::uint8_t pipe,
                                       platform::PipeProperties* properties) noexcept override;
  platform::IOReturn abortPipe(std::uint8_t pipe) noexcept override;
  platform::IOReturn resetPipe(std::uint8_t pipe) noexcept override;
  platform::IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept override;
  platform::IOReturn controlRequest(std::uint8_t pipe,
                                    const platform::ControlRequest& request) noexcept override;
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs,
                                std::uint32_t completionTimeoutMs) noexcept override;
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs,
                                 std::uint32_t completionTimeoutMs) noexcept override;

 private:
  bool isAlive() const;
  // Success if operations on the open interface make sense.
  platform::IOReturn checkOpen() const;
  // Null if the reference names no endpoint of the current setting.
  const Endpoint* endpointOf(std::uint8_t pipe) const;
  platform::IOReturn checkPipe(std::uint8_t pipe) const;
  platform::IOReturn checkTransfer(std::uint8_t pipe, platform::PipeDirection direction) const;
  bool isHaltedHereAlone(std::uint8_t pipe) const;
  platform::IOReturn statusOf(const Transfer& transfer, std::uint8_t pipe);
  platform::IOReturn wait(std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs);

  VirtualUsbStack& stack_;
  std::uint32_t connection_;
  bool open_ = false;
  std::uint8_t setting_ = 0;
  std::set<std::uint8_t> haltedHere_;  // pipes whose host side is halted
};

}  // namespace virtualscanner
