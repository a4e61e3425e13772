#pragma once

#include <sane/sane.h>

#include "ScanOutcome.h"

namespace frontend {

// The status with which a read tells how the scan ended: EOF for a good one.
SANE_Status saneStatusOf(ScanStatus status);

}  // namespace frontend
