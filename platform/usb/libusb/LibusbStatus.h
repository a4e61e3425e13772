#pragma once

#include <libusb.h>

#include "IOReturn.h"

namespace platform {

// The platform's status for the result of a libusb call, 0 or one of libusb_error. A positive result, the
// count that some calls return, is success.
IOReturn statusOfLibusbError(int error);

// The platform's status for the end of a transfer.
IOReturn statusOfLibusbTransfer(libusb_transfer_status status);

}  // namespace platform
