#pragma once

#include <memory>
#include <mutex>

#include "BulkTransfer.h"
#include "LibusbHandles.h"
#include "UsbStack.h"

namespace platform {

// An interface of the LibusbStack. Opening it claims it; one that a kernel driver holds is left alone.
// Belongs to its user, who releases it. One thread at a time, but for abortPipe(), which any thread may call.
//
// After a stall, the system keeps no halt of its own: only the device's side of a pipe is halted. So
// resetPipe() has nothing to clear, and it leaves the data toggles alone, which are in step.
class LibusbInterface final : public UsbInterface {
 public:
  // The context must outlive the object.
  LibusbInterface(libusb_context* context, DeviceReference device, std::uint8_t number)
      : context_(context), device_(std::move(device)), number_(number) {}
  virtual ~LibusbInterface();

  IOReturn open() noexcept override;
  IOReturn close() noexcept override;
  void release() noexcept override { delete this; }
  IOReturn getNumEndpoints(std::uint8_t* count) noexcept override;
  IOReturn setAlternateInterface(std::uint8_t alternateSetting) noexcept override;
  IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) noexcept override;
  IOReturn abortPipe(std::uint8_t pipe) noexcept override;
  IOReturn resetPipe(std::uint8_t pipe) noexcept override;
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept override;
  IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) noexcept override;
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) noexcept override;
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept override;

 private:
  IOReturn claim();
  // The endpoint behind a pipe reference; null if the current setting has none.
  const libusb_endpoint_descriptor* endpointOf(std::uint8_t pipe) const;
  IOReturn checkOpen();
  IOReturn checkPipe(std::uint8_t pipe);
  IOReturn checkTransfer(std::uint8_t pipe, PipeDirection direction) const;
  BulkTransfer::Result transfer(std::uint8_t pipe, std::uint8_t* bytes, std::uint32_t count,
                                std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs);
  // `status`, or kIOReturnNoDevice if the device turns out to be unplugged, which is then released.
  IOReturn unlessGone(IOReturn status);
  bool isGone();
  void letGo();

  libusb_context* context_;
  DeviceReference device_;
  std::uint8_t number_;

  bool gone_ = false;  // open, but its device is unplugged: everything below was released, though the user
                       // may never close
  std::mutex mutex_;   // guards what abortPipe() on another thread uses of the following

  // While it is open:
  DeviceHandle handle_;
  Configuration configuration_;
  const libusb_interface_descriptor* setting_ = nullptr;  // in configuration_
  std::unique_ptr<BulkTransfer> bulk_;
};

}  // namespace platform
