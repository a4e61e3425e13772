#include "VirtualUsbDevice.h"

namespace virtualscanner {
namespace {

using namespace platform;

// Bus 20, port 1. There is only one port: a device that is plugged in again has the same location.
constexpr std::uint32_t portLocation = 0x14100000;

}  // namespace

VirtualUsbDevice::~VirtualUsbDevice() {
  if (stack_.deviceHolder_ == this) stack_.deviceHolder_ = nullptr;
}

IOReturn VirtualUsbDevice::open() noexcept {
  if (!isAlive()) return kIOReturnNoDevice;
  // An object that had it open before an unplugging no longer holds it.
  if (stack_.deviceHolder_ != nullptr && stack_.deviceHolder_->isAlive()) return kIOReturnExclusiveAccess;
  stack_.deviceHolder_ = this;
  open_ = true;
  return kIOReturnSuccess;
}

IOReturn VirtualUsbDevice::close() noexcept {
  if (!open_) return kIOReturnNotOpen;
  open_ = false;
  if (stack_.deviceHolder_ == this) stack_.deviceHolder_ = nullptr;
  return isAlive() ? kIOReturnSuccess : kIOReturnNoDevice;
}

void VirtualUsbDevice::release() noexcept {
  stack_.devices_.erase(this);
}

IOReturn VirtualUsbDevice::getDeviceVendor(std::uint16_t* vendor) noexcept {
  return readDescriptor(usb::device::vendorAt, vendor);
}

IOReturn VirtualUsbDevice::getDeviceProduct(std::uint16_t* product) noexcept {
  return readDescriptor(usb::device::productAt, product);
}

IOReturn VirtualUsbDevice::getLocationID(std::uint32_t* location) noexcept {
  if (!isAlive()) return kIOReturnNoDevice;
  *location = portLocation;
  return kIOReturnSuccess;
}

bool VirtualUsbDevice::isAlive() const {
  return stack_.scanner_.pluggedIn() && stack_.scanner_.connection() == connection_;
}

// The host keeps the descriptor from the plugging-in: reading it does not require opening.
IOReturn VirtualUsbDevice::readDescriptor(std::size_t offset, std::uint16_t* number) {
  if (!isAlive()) return kIOReturnNoDevice;
  *number = usb::read16(&stack_.scanner_.deviceDescriptor()[offset]);
  return kIOReturnSuccess;
}

}  // namespace virtualscanner
