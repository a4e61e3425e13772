#include "LibusbStatus.h"

namespace platform {

IOReturn statusOfLibusbError(int error) {
  if (error >= 0) return kIOReturnSuccess;
  switch (error) {
    case LIBUSB_ERROR_IO:
      return kIOReturnIOError;
    case LIBUSB_ERROR_INVALID_PARAM:
      return kIOReturnBadArgument;
    case LIBUSB_ERROR_ACCESS:
      return kIOReturnNotPermitted;
    case LIBUSB_ERROR_NO_DEVICE:
      return kIOReturnNoDevice;
    case LIBUSB_ERROR_NOT_FOUND:
      return kIOReturnNotFound;
    case LIBUSB_ERROR_BUSY:
      return kIOReturnExclusiveAccess;
    case LIBUSB_ERROR_TIMEOUT:
      return kIOUSBTransactionTimeout;
    case LIBUSB_ERROR_OVERFLOW:
      return kIOReturnOverrun;
    case LIBUSB_ERROR_PIPE:
      return kIOUSBPipeStalled;
    case LIBUSB_ERROR_INTERRUPTED:
      return kIOReturnAborted;
    case LIBUSB_ERROR_NO_MEM:
      return kIOReturnNoMemory;
    case LIBUSB_ERROR_NOT_SUPPORTED:
      return kIOReturnUnsupported;
    default:
      return kIOReturnError;
  }
}

IOReturn statusOfLibusbTransfer(libusb_transfer_status status) {
  switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
      return kIOReturnSuccess;
    case LIBUSB_TRANSFER_ERROR:
      return kIOReturnIOError;
    case LIBUSB_TRANSFER_TIMED_OUT:
      return kIOUSBTransactionTimeout;
    case LIBUSB_TRANSFER_CANCELLED:
      return kIOReturnAborted;
    case LIBUSB_TRANSFER_STALL:
      return kIOUSBPipeStalled;
    case LIBUSB_TRANSFER_NO_DEVICE:
      return kIOReturnNoDevice;
    case LIBUSB_TRANSFER_OVERFLOW:
      return kIOReturnOverrun;
  }
  return kIOReturnError;
}

}  // namespace platform
