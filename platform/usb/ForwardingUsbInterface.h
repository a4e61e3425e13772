#pragma once

#include "UsbStack.h"

namespace platform {

class ForwardingUsbStack;

// One interface object of a ForwardingUsbStack: passes every operation on. Subclasses override what they want
// to see or to change. Belongs to its stack, which frees it when its user releases it, and at the stack's own
// end. Threads as for the inner object.
class ForwardingUsbInterface : public UsbInterface {
 public:
  // The inner object becomes this one's.
  ForwardingUsbInterface(ForwardingUsbStack& stack, UsbInterface& inner) : stack_(stack), inner_(inner) {}
  // Releases the inner object where its user did not. Whoever overrides release() must know that it is not
  // called then.
  virtual ~ForwardingUsbInterface();
  ForwardingUsbInterface(const ForwardingUsbInterface&) = delete;
  ForwardingUsbInterface& operator=(const ForwardingUsbInterface&) = delete;

  IOReturn open() override { return inner_.open(); }
  IOReturn close() override { return inner_.close(); }
  // Ends the life of this object.
  void release() final;
  IOReturn getNumEndpoints(std::uint8_t* count) override { return inner_.getNumEndpoints(count); }
  IOReturn setAlternateInterface(std::uint8_t alternateSetting) override {
    return inner_.setAlternateInterface(alternateSetting);
  }
  IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) override {
    return inner_.getPipeProperties(pipe, properties);
  }
  IOReturn abortPipe(std::uint8_t pipe) override { return inner_.abortPipe(pipe); }
  IOReturn resetPipe(std::uint8_t pipe) override { return inner_.resetPipe(pipe); }
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) override { return inner_.clearPipeStallBothEnds(pipe); }
  IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) override {
    return inner_.controlRequest(pipe, request);
  }
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) override {
    return inner_.readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override {
    return inner_.writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  }

 protected:
  UsbInterface& inner() { return inner_; }
  bool released() const { return released_; }

 private:
  ForwardingUsbStack& stack_;
  UsbInterface& inner_;
  bool released_ = false;
};

}  // namespace platform
