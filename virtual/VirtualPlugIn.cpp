#include "VirtualPlugIn.h"

#include <new>
#include <utility>

#include "VirtualUsbDevice.h"
#include "VirtualUsbInterface.h"

namespace virtualscanner {

using namespace platform;

// An object of the stack's, which it keeps until the object is released.
template <typename Object, typename Interface>
IOReturn VirtualPlugIn::create(std::map<const void*, std::unique_ptr<Object>>& kept,
                               Interface** result) noexcept try {
  auto object = std::make_unique<Object>(stack_, connection_);
  Object* const created = object.get();
  kept.emplace(created, std::move(object));
  *result = created;
  return kIOReturnSuccess;
} catch (const std::bad_alloc&) {
  return kIOReturnNoMemory;
}

IOReturn VirtualPlugIn::queryInterface(UsbInterface** interface) noexcept {
  return kind_ == ServiceKind::usbInterface ? create(stack_.interfaces_, interface) : kIOReturnUnsupported;
}

IOReturn VirtualPlugIn::queryInterface(UsbDevice** device) noexcept {
  return kind_ == ServiceKind::usbDevice ? create(stack_.devices_, device) : kIOReturnUnsupported;
}

void VirtualPlugIn::release() noexcept {
  stack_.plugIns_.erase(this);
}

}  // namespace virtualscanner
