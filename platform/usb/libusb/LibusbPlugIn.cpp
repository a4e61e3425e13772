#include "LibusbPlugIn.h"

#include <new>

#include "LibusbDevice.h"
#include "LibusbInterface.h"

namespace platform {

IOReturn LibusbPlugIn::queryInterface(UsbInterface** interface) noexcept {
  if (kind_ != ServiceKind::usbInterface) return kIOReturnUnsupported;
  *interface = new (std::nothrow) LibusbInterface(context_, device_, interface_);
  return *interface != nullptr ? kIOReturnSuccess : kIOReturnNoMemory;
}

IOReturn LibusbPlugIn::queryInterface(UsbDevice** device) noexcept {
  if (kind_ != ServiceKind::usbDevice) return kIOReturnUnsupported;
  *device = new (std::nothrow) LibusbDevice(device_);
  return *device != nullptr ? kIOReturnSuccess : kIOReturnNoMemory;
}

}  // namespace platform
