#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LibusbStack.h"

namespace platform {

// The devices of one identity that are plugged in, for lists and for choosing one. Asks only the system: no
// device is opened and none gets a request, which is cheap and disturbs nobody who uses one. Keeps nothing
// between two calls.
//
// Any thread. Throws nothing but std::bad_alloc.
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
    Access access;           // of this user; another program or a kernel driver may hold it all the same
  };
  struct List {
    std::vector<Device> devices;  // by bus, then by port path
    std::string failure;          // a sentence, where USB cannot be used at all; otherwise empty
  };

  explicit LibusbDevices(LibusbStack::Identity identity = LibusbStack::configuredIdentity())
      : identity_(identity) {}

  // The devices of this moment.
  List attached() const;

 private:
  LibusbStack::Identity identity_;
};

}  // namespace platform
