#include "LibusbDevice.h"

#include "LibusbStatus.h"
#include "Log.h"

namespace platform {

IOReturn openDevice(libusb_device* device, DeviceHandle& handle) {
  libusb_device_handle* opened = nullptr;
  const int error = libusb_open(device, &opened);
  if (error == LIBUSB_SUCCESS) {
    handle.reset(opened);
    return kIOReturnSuccess;
  }
  const int bus = libusb_get_bus_number(device);
  const int address = libusb_get_device_address(device);
  if (error == LIBUSB_ERROR_ACCESS) {
    logFormat(
        "no permission to use the scanner /dev/bus/usb/%03d/%03d: install its udev rule and plug it in again",
        bus, address);
  } else {
    logFormat("the scanner /dev/bus/usb/%03d/%03d cannot be opened: %s", bus, address,
              libusb_strerror(error));
  }
  return statusOfLibusbError(error);
}

IOReturn LibusbDevice::open() noexcept {
  return handle_ ? kIOReturnExclusiveAccess : openDevice(device_.get(), handle_);
}

IOReturn LibusbDevice::close() noexcept {
  if (!handle_) return kIOReturnNotOpen;
  const bool connected = isConnected(handle_.get());
  handle_.reset();
  return connected ? kIOReturnSuccess : kIOReturnNoDevice;
}

IOReturn LibusbDevice::getDeviceVendor(std::uint16_t* vendor) noexcept {
  libusb_device_descriptor descriptor{};
  const IOReturn status = readDescriptor(descriptor);
  if (status == kIOReturnSuccess) *vendor = descriptor.idVendor;
  return status;
}

IOReturn LibusbDevice::getDeviceProduct(std::uint16_t* product) noexcept {
  libusb_device_descriptor descriptor{};
  const IOReturn status = readDescriptor(descriptor);
  if (status == kIOReturnSuccess) *product = descriptor.idProduct;
  return status;
}

IOReturn LibusbDevice::getLocationID(std::uint32_t* location) noexcept {
  if (!isPresent()) return kIOReturnNoDevice;
  *location = pathOf(device_.get()).location();
  return kIOReturnSuccess;
}

// First checks whether the device is present: the library keeps the descriptor of an unplugged one.
IOReturn LibusbDevice::readDescriptor(libusb_device_descriptor& descriptor) const {
  if (!isPresent()) return kIOReturnNoDevice;
  return statusOfLibusbError(libusb_get_device_descriptor(device_.get(), &descriptor));
}

// Without a handle, only an attempt to open the device queries the system; a refusal proves that the device
// is present.
bool LibusbDevice::isPresent() const {
  if (handle_) return isConnected(handle_.get());
  libusb_device_handle* probe = nullptr;
  const int error = libusb_open(device_.get(), &probe);
  const DeviceHandle closing(probe);
  return error != LIBUSB_ERROR_NO_DEVICE;
}

}  // namespace platform
