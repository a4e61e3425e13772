#pragma once

#include <cstdint>
#include <string>

#include "UsbPath.h"

namespace platform {

// A device that is plugged in, as a list of devices has it: all that the system knows of it without opening
// it. An ordinary value.
struct AttachedDevice {
  enum class Access : std::uint8_t {
    granted,
    denied,  // the node is there, but not for this user
    noNode,  // the system knows the device but shows this process no node, as in a container
  };

  UsbPath path;          // the same after a replug
  std::uint8_t address;  // its number on the bus, another one after a replug
  Access access;         // of this user; another program or a kernel driver may hold it all the same

  // The file of the device: "/dev/bus/usb/001/004".
  std::string node() const;

  bool operator==(const AttachedDevice&) const = default;
};

}  // namespace platform
