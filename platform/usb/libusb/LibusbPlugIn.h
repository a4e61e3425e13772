#pragma once

#include "LibusbHandles.h"
#include "UsbStack.h"

namespace platform {

// The step between a service of the LibusbStack and its object. Belongs to its user, who releases it. One
// thread at a time.
class LibusbPlugIn final : public PlugInInterface {
 public:
  LibusbPlugIn(libusb_context* context, ServiceKind kind, DeviceReference device, std::uint8_t interface)
      : context_(context), kind_(kind), device_(std::move(device)), interface_(interface) {}
  virtual ~LibusbPlugIn() = default;

  IOReturn queryInterface(UsbInterface** interface) noexcept override;
  IOReturn queryInterface(UsbDevice** device) noexcept override;
  void release() noexcept override { delete this; }

 private:
  libusb_context* context_;
  ServiceKind kind_;
  DeviceReference device_;
  std::uint8_t interface_;
};

}  // namespace platform
