#pragma once

#include <libusb.h>

#include "IOReturn.h"

namespace platform {

// The platform's name for what a libusb call answered (0 or one of libusb_error). A count, as some calls
// answer it, is success.
IOReturn statusOfLibusbError(int error);

// The same for how a transfer ended.
IOReturn statusOfLibusbTransfer(libusb_transfer_status status);

}  // namespace platform
