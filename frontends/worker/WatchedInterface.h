#pragma once

#include "ForwardingUsbInterface.h"
#include "JobWatch.h"
#include "TransferObserver.h"

namespace frontend {

class WatchedUsbStack;

// One interface object of a WatchedUsbStack: passes every operation on, after asking the watch, and remembers
// what its user leaves open.
class WatchedInterface final : public platform::ForwardingUsbInterface {
 public:
  WatchedInterface(WatchedUsbStack& stack, platform::UsbInterface& inner, JobWatch& watch,
                   TransferObserver* observer);
  // Leaves the device ready for the next job where its user did not close it.
  ~WatchedInterface() override;

  platform::IOReturn open() noexcept override;
  platform::IOReturn close() noexcept override;
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs,
                                std::uint32_t completionTimeoutMs) noexcept override;
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs,
                                 std::uint32_t completionTimeoutMs) noexcept override;

 private:
  class Transfer;

  void putAway();
  template <typename Operation>
  platform::IOReturn unlessOutOfMemory(Operation operation) noexcept;
  platform::IOReturn readWhole(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                               std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs);
  platform::IOReturn readOnce(std::uint8_t pipe, std::uint8_t* buffer, std::uint32_t* size,
                              std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs);

  WatchedUsbStack& stack_;
  JobWatch& watch_;
  TransferObserver* observer_;
  bool open_ = false;
};

}  // namespace frontend
