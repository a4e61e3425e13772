#include "AttachedDevice.h"

#include <cstdio>

namespace platform {

std::string AttachedDevice::node() const {
  char text[32];
  std::snprintf(text, sizeof text, "/dev/bus/usb/%03d/%03d", path.bus, address);
  return text;
}

}  // namespace platform
