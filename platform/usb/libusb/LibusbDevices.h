#pragma once

#include <libusb.h>

#include <memory>
#include <string>
#include <vector>

#include "AttachedDevice.h"
#include "LibusbStack.h"

namespace platform {

// The devices of one identity that are plugged in, for lists and for choosing one. Queries only the system:
// no device is opened and none gets a request, which is cheap and disturbs no other user of a device.
//
// One thread. Throws nothing but std::bad_alloc. Everything here may block for as long as the system and
// libusb do, which is for ever on a broken system: a caller that must not hang calls it in another process.
class LibusbDevices {
 public:
  struct List {
    std::vector<AttachedDevice> devices;  // by bus, then by port path
    std::string failure;                  // a sentence if USB cannot be used at all; otherwise empty
  };

  explicit LibusbDevices(LibusbStack::Identity identity = LibusbStack::configuredIdentity())
      : identity_(identity) {}

  // The devices that are plugged in now. libusb is initialised by the first call and released with the
  // object, which joins a thread of libusb's: use the list before that.
  List attached();

 private:
  struct EndContext {
    void operator()(libusb_context* context) const { libusb_exit(context); }
  };

  LibusbStack::Identity identity_;
  std::unique_ptr<libusb_context, EndContext> context_;
};

}  // namespace platform
