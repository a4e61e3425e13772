#include "LibusbDevices.h"

#include <libusb.h>
#include <unistd.h>

#include <cerrno>

#include "LibusbHandles.h"

namespace platform {
namespace {

using Access = AttachedDevice::Access;

// The result that opening the node would have, determined without opening it.
Access accessTo(const std::string& node) {
  if (access(node.c_str(), R_OK | W_OK) == 0) return Access::granted;
  const bool absent = errno == ENOENT || errno == ENOTDIR;
  return absent ? Access::noNode : Access::denied;
}

}  // namespace

LibusbDevices::List LibusbDevices::attached() {
  if (context_ == nullptr) {
    libusb_context* begun = nullptr;
    if (const int error = libusb_init(&begun); error != LIBUSB_SUCCESS)
      return {{}, std::string("USB cannot be used: ") + libusb_strerror(error)};
    context_.reset(begun);
  }
  List list;
  for (const DeviceReference& reference : devicesOf(context_.get(), identity_)) {
    AttachedDevice device{pathOf(reference.get()), libusb_get_device_address(reference.get()),
                          Access::granted};
    device.access = accessTo(device.node());
    list.devices.push_back(device);
  }
  return list;
}

}  // namespace platform
