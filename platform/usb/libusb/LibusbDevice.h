#pragma once

#include "LibusbHandles.h"
#include "UsbStack.h"

namespace platform {

// A device of the LibusbStack, for reading its identity. Opening it proves that this process may use it and
// does not lock others out. Belongs to its user, who releases it. One thread at a time.
class LibusbDevice final : public UsbDevice {
 public:
  explicit LibusbDevice(DeviceReference device) : device_(std::move(device)) {}
  virtual ~LibusbDevice() = default;

  IOReturn open() noexcept override;
  IOReturn close() noexcept override;
  void release() noexcept override { delete this; }
  IOReturn getDeviceVendor(std::uint16_t* vendor) noexcept override;
  IOReturn getDeviceProduct(std::uint16_t* product) noexcept override;
  IOReturn getLocationID(std::uint32_t* location) noexcept override;

 private:
  IOReturn readDescriptor(libusb_device_descriptor& descriptor) const;
  bool isPresent() const;

  DeviceReference device_;
  DeviceHandle handle_;
};

// Opens a device. On failure, logs the reason and what to do about it, and leaves the handle as it was.
IOReturn openDevice(libusb_device* device, DeviceHandle& handle);

}  // namespace platform
