#pragma once

#include "ReportChannel.h"

namespace frontend {

// The task of a worker that lists: reports the scanners on the USB, or why there is no list, and then
// releases USB. Opens no device and disturbs none. Blocks for as long as the system and libusb do, before or
// after the report, which may be for ever: endByItself() bounds that. Throws std::bad_alloc.
void listScanners(ReportChannel& reports);

// Lets the system end this process workertimes::longestList from now, whatever it is doing then. Before the
// process is confined.
void endByItself();

}  // namespace frontend
