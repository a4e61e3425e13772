#include "VirtualPlugIn.h"

#include <memory>
#include <new>
#include <utility>

#include "VirtualUsbDevice.h"
#include "VirtualUsbInterface.h"

namespace virtualscanner {

using namespace platform;

IOReturn VirtualPlugIn::queryInterface(UsbInterface** interface) noexcept try {
  if (kind_ != ServiceKind::usbInterface) return kIOReturnUnsupported;
  auto object = std::make_unique<VirtualUsbInterface>(stack_, connection_);
  VirtualUsbInterface* kept = object.get();
  stack_.interfaces_.emplace(kept, std::move(object));
  *interface = kept;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualPlugIn::queryInterface(UsbDevice** device) noexcept try {
  if (kind_ != ServiceKind::usbDevice) return kIOReturnUnsupported;
  auto object = std::make_unique<VirtualUsbDevice>(stack_, connection_);
  VirtualUsbDevice* kept = object.get();
  stack_.devices_.emplace(kept, std::move(object));
  *device = kept;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

void VirtualPlugIn::release() noexcept {
  stack_.plugIns_.erase(this);
}

}  // namespace virtualscanner
