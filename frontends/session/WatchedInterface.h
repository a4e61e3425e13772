#pragma once

#include "JobWatch.h"
#include "UsbStack.h"

namespace frontend {

class WatchedUsbStack;

// One interface object of a WatchedUsbStack: passes every operation on, after asking the watch, and remembers
// what its user leaves open. Belongs to its stack, which forgets and frees it on release().
class WatchedInterface final : public platform::UsbInterface {
 public:
  WatchedInterface(WatchedUsbStack& stack, platform::UsbInterface& inner, JobWatch& watch)
      : stack_(stack), inner_(inner), watch_(watch) {}
  ~WatchedInterface() = default;
  WatchedInterface(const WatchedInterface&) = delete;
  WatchedInterface& operator=(const WatchedInterface&) = delete;

  bool isOpen() const { return open_; }
  // Leaves the device ready for the next job and gives the object back.
  void putAway();

  platform::IOReturn open() override;
  platform::IOReturn close() override;
  void release() override;
  platform::IOReturn getNumEndpoints(std::uint8_t* count) override;
  platform::IOReturn setAlternateInterface(std::uint8_t alternateSetting) override;
  platform::IOReturn getPipeProperties(std::uint8_t pipe, platform::PipeProperties* properties) override;
  platform::IOReturn abortPipe(std::uint8_t pipe) override;
  platform::IOReturn resetPipe(std::uint8_t pipe) override;
  platform::IOReturn clearPipeStallBothEnds(std::uint8_t pipe) override;
  platform::IOReturn controlRequest(std::uint8_t pipe, const platform::ControlRequest& request) override;
  platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override;
  platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                 std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override;

 private:
  WatchedUsbStack& stack_;
  platform::UsbInterface& inner_;
  JobWatch& watch_;
  bool open_ = false;
};

}  // namespace frontend
