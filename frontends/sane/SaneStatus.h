#pragma once

#include <sane/sane.h>

#include "ScanOutcome.h"

namespace frontend {

// The status that a read at the end of the scan returns: EOF for a good one.
SANE_Status saneStatusOf(ScanStatus status);

}  // namespace frontend
