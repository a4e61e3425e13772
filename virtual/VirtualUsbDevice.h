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

  platform::IOReturn open() override;
  platform::IOReturn close() override;
  void release() override;
  platform::IOReturn getDeviceVendor(std::uint16_t* vendor) override;
  platform::IOReturn getDeviceProduct(std::uint16_t* product) override;
  platform::IOReturn getLocationID(std::uint32_t* location) override;

 private:
  bool isAlive() const;
  platform::IOReturn readDescriptor(std::size_t offset, std::uint16_t* number);

  VirtualUsbStack& stack_;
  std::uint32_t connection_;
  bool open_ = false;
};

}  // namespace virtualscanner
