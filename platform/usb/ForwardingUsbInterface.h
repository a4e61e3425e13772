#pragma once

#include "UsbStack.h"

namespace platform {

class ForwardingUsbStack;

// One interface object of a ForwardingUsbStack: passes every operation on. Subclasses override what they want
// to see or to change. Belongs to its stack, which frees it when its user releases it, or when the stack
// itself is destroyed. Threads and blocking as for the inner object.
class ForwardingUsbInterface : public UsbInterface {
 public:
  // The inner object becomes this one's as soon as the stack keeps this one.
  ForwardingUsbInterface(ForwardingUsbStack& stack, UsbInterface& inner) : stack_(stack), inner_(inner) {}
  // Releases the inner object, which the destructors of subclasses may still use.
  virtual ~ForwardingUsbInterface();
  ForwardingUsbInterface(const ForwardingUsbInterface&) = delete;
  ForwardingUsbInterface& operator=(const ForwardingUsbInterface&) = delete;

  IOReturn open() noexcept override { return inner_.open(); }
  IOReturn close() noexcept override { return inner_.close(); }
  // Not for subclasses: it is not called if the stack is destroyed first. Their destructors always are.
  void release() noexcept final;
  IOReturn getNumEndpoints(std::uint8_t* count) noexcept override { return inner_.getNumEndpoints(count); }
  IOReturn setAlternateInterface(std::uint8_t alternateSetting) noexcept override {
    return inner_.setAlternateInterface(alternateSetting);
  }
  IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) noexcept override {
    return inner_.getPipeProperties(pipe, properties);
  }
  IOReturn abortPipe(std::uint8_t pipe) noexcept override { return inner_.abortPipe(pipe); }
  IOReturn resetPipe(std::uint8_t pipe) noexcept override { return inner_.resetPipe(pipe); }
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept override {
    return inner_.clearPipeStallBothEnds(pipe);
  }
  IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) noexcept override {
    return inner_.controlRequest(pipe, request);
  }
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) noexcept override {
    return inner_.readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept override {
    return inner_.writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
  }

 protected:
  UsbInterface& inner() { return inner_; }

 private:
  friend class ForwardingUsbStack;

  void adoptInner() { ownsInner_ = true; }

  ForwardingUsbStack& stack_;
  UsbInterface& inner_;
  bool ownsInner_ = false;
};

}  // namespace platform
