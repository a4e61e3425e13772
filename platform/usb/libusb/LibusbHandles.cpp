#include "LibusbHandles.h"

#include <algorithm>
#include <span>

namespace platform {

// The cheapest request that the system can serve without the device, which may be hung.
bool isConnected(libusb_device_handle* handle) {
  return libusb_kernel_driver_active(handle, 0) != LIBUSB_ERROR_NO_DEVICE;
}

Configuration activeConfiguration(libusb_device* device) {
  libusb_config_descriptor* configuration = nullptr;
  if (libusb_get_active_config_descriptor(device, &configuration) != LIBUSB_SUCCESS) return nullptr;
  return Configuration(configuration);
}

const libusb_interface_descriptor* interfaceDescriptor(const libusb_config_descriptor& configuration,
                                                       std::uint8_t interface,
                                                       std::uint8_t alternateSetting) {
  for (const libusb_interface& candidate : std::span(configuration.interface, configuration.bNumInterfaces)) {
    const auto settings = std::span(candidate.altsetting, static_cast<std::size_t>(candidate.num_altsetting));
    for (const libusb_interface_descriptor& setting : settings) {
      if (setting.bInterfaceNumber == interface && setting.bAlternateSetting == alternateSetting)
        return &setting;
    }
  }
  return nullptr;
}

UsbPath pathOf(libusb_device* device) {
  UsbPath path{libusb_get_bus_number(device), {}};
  const int count = libusb_get_port_numbers(device, path.ports.data(), static_cast<int>(path.ports.size()));
  // The library fills the array from its end, moves the ports to its front and leaves the rest as it was.
  std::fill(path.ports.begin() + std::max(count, 0), path.ports.end(), std::uint8_t{0});
  return path;
}

std::vector<DeviceReference> devicesOf(libusb_context* context, UsbIdentity identity) {
  libusb_device** list = nullptr;
  const ssize_t count = libusb_get_device_list(context, &list);
  const auto freeList = [](libusb_device** all) { libusb_free_device_list(all, 1); };
  const std::unique_ptr<libusb_device*, decltype(freeList)> owner(list, freeList);
  std::vector<DeviceReference> devices;
  for (ssize_t i = 0; i < count; ++i) {
    libusb_device_descriptor descriptor{};
    if (libusb_get_device_descriptor(list[i], &descriptor) == LIBUSB_SUCCESS &&
        descriptor.idVendor == identity.vendor && descriptor.idProduct == identity.product)
      devices.emplace_back(list[i]);
  }
  std::stable_sort(devices.begin(), devices.end(), [](const auto& left, const auto& right) {
    return pathOf(left.get()) < pathOf(right.get());
  });
  return devices;
}

}  // namespace platform
