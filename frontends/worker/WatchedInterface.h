#pragma once

#include <cstdint>

#include "ForwardingUsbInterface.h"
#include "JobWatch.h"
#include "TransferInFlight.h"

namespace frontend {

class WatchedUsbStack;

// One interface object of a WatchedUsbStack: consults the watch before and after every transfer, and
// remembers what its user leaves open. Nothing throws: if there is no memory to examine a transfer, it fails
// with the status that the watch has for that.
class WatchedInterface final : public platform::ForwardingUsbInterface {
 public:
  WatchedInterface(WatchedUsbStack& stack, platform::UsbInterface& inner, JobWatch& watch,
                   TransferInFlight* transfers);
  // Leaves the device ready for the next job where its user did not close it.
  ~WatchedInterface() override;

  // As the inner object, whose status is kept for WatchedUsbStack::openFailure().
  platform::IOReturn open() noexcept override;
  platform::IOReturn close() noexcept override;
  // As the inner object's as long as the watch has no objection, but that a read may wait longer or shorter
  // than its no-data time-out, as long as the watch allows; blocks for one or several transfers. Reads an
  // answer up to the end of its packet, if there is room: the driver reads each one once only. Otherwise
  // kIOReturnNoDevice (the job is over), kIOUSBTransactionTimeout at once (the picture is), or
  // kIOReturnIOError (bytes that the driver must not get). *size counts the bytes that moved, on every
  // status, but for those that there was no memory to examine.
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs,
                                std::uint32_t completionTimeoutMs) noexcept override;
  // As the inner object's, or kIOReturnNoDevice once the job is over.
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs,
                                 std::uint32_t completionTimeoutMs) noexcept override;

 private:
  class Transfer;

  void putAway();
  platform::IOReturn readAll(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                             const TransferTimeouts& asked);
  platform::IOReturn readOnce(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                              const TransferTimeouts& asked);
  platform::IOReturn write(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                           const TransferTimeouts& asked);

  WatchedUsbStack& stack_;
  JobWatch& watch_;
  TransferInFlight* transfers_;
  bool open_ = false;
};

}  // namespace frontend
