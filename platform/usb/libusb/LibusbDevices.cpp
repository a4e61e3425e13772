#include "LibusbDevices.h"

#include <libusb.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace platform {
namespace {

struct EndContext {
  void operator()(libusb_context* context) const { libusb_exit(context); }
};

std::string nodeOf(libusb_device* device) {
  char node[64];
  std::snprintf(node, sizeof node, "/dev/bus/usb/%03d/%03d", libusb_get_bus_number(device),
                libusb_get_device_address(device));
  return node;
}

// What opening it would result in, found out without opening it.
LibusbDevices::Access accessTo(const std::string& node) {
  if (access(node.c_str(), R_OK | W_OK) == 0) return LibusbDevices::Access::granted;
  const bool absent = errno == ENOENT || errno == ENOTDIR;
  return absent ? LibusbDevices::Access::noNode : LibusbDevices::Access::denied;
}

}  // namespace

LibusbDevices::List LibusbDevices::attached() const {
  libusb_context* begun = nullptr;
  if (const int error = libusb_init(&begun); error != LIBUSB_SUCCESS)
    return {{}, std::string("USB cannot be used: ") + libusb_strerror(error)};
  const std::unique_ptr<libusb_context, EndContext> context(begun);
  List list;
  for (const DeviceReference& device : devicesOf(begun, identity_)) {
    std::string node = nodeOf(device.get());
    const Access access = accessTo(node);
    const UsbPath path = pathOf(device.get());
    list.devices.push_back({path.text(), path.location(), std::move(node), access});
  }
  return list;
}

}  // namespace platform
