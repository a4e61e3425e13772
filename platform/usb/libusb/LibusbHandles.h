#pragma once

#include <libusb.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "UsbPath.h"

namespace platform {

// One counted reference to a device of the library's list, released by the destructor.
class DeviceReference {
 public:
  explicit DeviceReference(libusb_device* device) : device_(libusb_ref_device(device)) {}
  DeviceReference(const DeviceReference& other) : DeviceReference(other.device_) {}
  DeviceReference& operator=(DeviceReference other) noexcept {
    std::swap(device_, other.device_);
    return *this;
  }
  ~DeviceReference() { libusb_unref_device(device_); }

  libusb_device* get() const { return device_; }

 private:
  libusb_device* device_;
};

struct CloseHandle {
  void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
using DeviceHandle = std::unique_ptr<libusb_device_handle, CloseHandle>;

// Whether the device of a handle is still connected.
bool isConnected(libusb_device_handle* handle);

struct FreeConfiguration {
  void operator()(libusb_config_descriptor* configuration) const {
    libusb_free_config_descriptor(configuration);
  }
};
using Configuration = std::unique_ptr<libusb_config_descriptor, FreeConfiguration>;

// The active configuration; null for a device that has none, or that was unplugged.
Configuration activeConfiguration(libusb_device* device);

// An interface of a configuration as it is in one of its alternate settings; null if there is none.
const libusb_interface_descriptor* interfaceDescriptor(const libusb_config_descriptor& configuration,
                                                       std::uint8_t interface, std::uint8_t alternateSetting);

// Where a device is plugged in.
UsbPath pathOf(libusb_device* device);

// The numbers by which a device identifies itself.
struct UsbIdentity {
  std::uint16_t vendor;
  std::uint16_t product;
};

// The devices of one identity that are plugged in now, by bus and then by port path. Queries the system, not
// the devices, and opens none. Empty if the system cannot list them. Throws nothing but std::bad_alloc.
std::vector<DeviceReference> devicesOf(libusb_context* context, UsbIdentity identity);

}  // namespace platform
