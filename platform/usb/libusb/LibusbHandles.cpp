#include "LibusbHandles.h"

#include <algorithm>
#include <array>
#include <span>
#include <tuple>

namespace platform {
namespace {

// The ports on the way from the root, the nearest one first; 0 behind the last one. USB 3.2, 10.16: no path
// is longer.
using PortPath = std::array<std::uint8_t, 7>;

PortPath portPath(libusb_device* device) {
  PortPath ports{};
  const int count = libusb_get_port_numbers(device, ports.data(), static_cast<int>(ports.size()));
  // The library counts from the other end and leaves what it moved.
  std::fill(ports.begin() + std::max(count, 0), ports.end(), std::uint8_t{0});
  return ports;
}

bool standsBefore(libusb_device* left, libusb_device* right) {
  return std::tuple(libusb_get_bus_number(left), portPath(left)) <
         std::tuple(libusb_get_bus_number(right), portPath(right));
}

}  // namespace

// The cheapest question that the system answers for a device that is there, whatever the device does.
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

std::uint32_t locationOf(libusb_device* device) {
  std::uint32_t location = std::uint32_t{libusb_get_bus_number(device)} << 24;
  int shift = 20;
  const PortPath ports = portPath(device);
  for (const std::uint8_t port : std::span(ports).first<6>()) {
    location |= std::min<std::uint32_t>(port, 15) << shift;
    shift -= 4;
  }
  return location;
}

std::string pathOf(libusb_device* device) {
  const PortPath ports = portPath(device);
  std::string path = std::to_string(libusb_get_bus_number(device)) + "-" + std::to_string(ports[0]);
  for (const std::uint8_t port : std::span(ports).subspan<1>()) {
    if (port == 0) break;
    path += "." + std::to_string(port);
  }
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
  std::stable_sort(devices.begin(), devices.end(),
                   [](const auto& left, const auto& right) { return standsBefore(left.get(), right.get()); });
  return devices;
}

}  // namespace platform
