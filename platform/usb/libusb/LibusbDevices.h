#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LibusbStack.h"

namespace platform {

// The devices of one identity that are plugged in, for showing them to people and choosing one. Asks the
// system alone: no device is opened and none gets a request, so that it costs little and disturbs nobody who
// uses one. Keeps nothing between two calls.
//
// Any thread. Throws nothing but what the lack of memory throws.
class LibusbDevices {
 public:
  enum class Access {
    granted,
    denied,  // the node is there, but not for this user
    noNode,  // the system knows the device but shows this process no node, as in a container
  };
  struct Device {
    std::string path;        // "1-2.3": bus 1, port 2 and port 3 behind it; the same after a replug
    std::uint32_t location;  // for LibusbStack
    std::string node;        // "/dev/bus/usb/001/004", of this plugging-in
    Access access;           // says nothing of other programs or kernel drivers that hold it
  };
  struct List {
    std::vector<Device> devices;  // by bus, then by port path
    std::string failure;          // why there is no USB at all, for people; empty where there is
  };

  explicit LibusbDevices(LibusbStack::Identity identity = LibusbStack::configuredIdentity())
      : identity_(identity) {}

  // As it is now.
  List attached() const;

 private:
  LibusbStack::Identity identity_;
};

}  // namespace platform
