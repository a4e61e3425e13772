#include "SaneStatus.h"

namespace frontend {

SANE_Status saneStatusOf(ScanStatus status) {
  switch (status) {
    case ScanStatus::good:
      return SANE_STATUS_EOF;
    case ScanStatus::cancelled:
      return SANE_STATUS_CANCELLED;
    case ScanStatus::busy:
      return SANE_STATUS_DEVICE_BUSY;
    case ScanStatus::accessDenied:
      return SANE_STATUS_ACCESS_DENIED;
    case ScanStatus::noMemory:
      return SANE_STATUS_NO_MEM;
    case ScanStatus::noDevice:
    case ScanStatus::timedOut:
    case ScanStatus::badData:
    case ScanStatus::ioError:
    case ScanStatus::refused:
      break;
  }
  return SANE_STATUS_IO_ERROR;
}

}  // namespace frontend
