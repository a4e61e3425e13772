#include "VirtualPlugIn.h"

#include <memory>
#include <utility>

#include "VirtualUsbDevice.h"
#include "VirtualUsbInterface.h"

namespace virtualscanner {

using namespace platform;

IOReturn VirtualPlugIn::queryInterface(UsbInterface** interface) {
  if (kind_ != ServiceKind::usbInterface) return kIOReturnUnsupported;
  auto object = std::make_unique<VirtualUsbInterface>(stack_, connection_);
  *interface = object.get();
  stack_.interfaces_.emplace(object.get(), std::move(object));
  return kIOReturnSuccess;
}

IOReturn VirtualPlugIn::queryInterface(UsbDevice** device) {
  if (kind_ != ServiceKind::usbDevice) return kIOReturnUnsupported;
  auto object = std::make_unique<VirtualUsbDevice>(stack_, connection_);
  *device = object.get();
  stack_.devices_.emplace(object.get(), std::move(object));
  return kIOReturnSuccess;
}

void VirtualPlugIn::release() {
  stack_.plugIns_.erase(this);
}

}  // namespace virtualscanner
