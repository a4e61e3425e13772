#pragma once

#include <cstdint>
#include <string>

#include "UsbPath.h"

namespace platform {

// A device that is plugged in, as an entry of a device list: all that the system reports about it without
// opening it. An ordinary value.
struct AttachedDevice {
  enum class Access : std::uint8_t {
    granted,
    denied,  // the node exists, but this user has no access
    noNode,  // the system lists the device but has no node for this process, as in a container
  };

  UsbPath path;          // the same after a replug
  std::uint8_t address;  // its number on the bus, another one after a replug
  Access access;         // of this user; another program or a kernel driver may hold it nevertheless

  // The file of the device: "/dev/bus/usb/001/004".
  std::string node() const;

  bool operator==(const AttachedDevice&) const = default;
};

}  // namespace platform
