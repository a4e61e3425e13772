#pragma once

#include "Confinement.h"
#include "ScanRequest.h"

namespace frontend {

// What every worker needs and keeps when it confines itself: USB devices and what the system knows of them,
// the time zone of its log, and some memory. A list of the scanners needs no more.
platform::ConfinementNeeds workerNeeds();

// The same for this scan, with memory for several times the picture: the library holds up to three and a half
// copies of it, and one object for each packet. No file of the user: the paper of a virtual scanner arrives
// open, and there is memory for it too.
platform::ConfinementNeeds workerNeeds(const ScanRequest& request);

}  // namespace frontend
