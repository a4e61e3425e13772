#pragma once

#include <cstdint>

#include "VirtualUsbStack.h"

namespace virtualscanner {

// The one device, for reading its identity. Owned by the stack, as VirtualUsbInterface.
class VirtualUsbDevice final : public platform::UsbDevice {
 public:
  VirtualUsbDevice(VirtualUsbStack& stack, std::uint32_t connection)
      : stack_(stack), connection_(connection) {}
  VirtualUsbDevice(const VirtualUsbDevice&) = delete;
  VirtualUsbDevice& operator=(const VirtualUsbDevice&) = delete;
  virtual ~VirtualUsbDevice();

  platform::IOReturn open() noexcept override;
  platform::IOReturn close() noexcept override;
  void release() noexcept override;
  platform::IOReturn getDeviceVendor(std::uint16_t* vendor) noexcept override;
  platform::IOReturn getDeviceProduct(std::uint16_t* product) noexcept override;
  platform::IOReturn getLocationID(std::uint32_t* location) noexcept override;

 private:
  bool isAlive() const;
  platform::IOReturn readDescriptor(std::size_t offset, std::uint16_t* number);

  VirtualUsbStack& stack_;
  std::uint32_t connection_;
  bool open_ = false;
};

}  // namespace virtualscanner
