#pragma once

#include "Confinement.h"
#include "ScanRequest.h"

namespace frontend {

// What a worker needs for this scan and keeps when it confines itself: USB devices and what the system knows
// of them, the time zone of its log, the file of a virtual scanner's paper, and memory for several times the
// picture: the library holds up to three and a half copies of it, and one object for each packet.
platform::ConfinementNeeds workerNeeds(const ScanRequest& request);

}  // namespace frontend
