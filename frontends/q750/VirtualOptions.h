#pragma once

#include <memory>
#include <string>

#include "ScanRequest.h"

namespace virtualscanner {
class VirtualScanner;
}

namespace frontend {

// Faults as the command line names them, "stall:7", become such as the model names them, "stall@7", and all
// options are checked, so that nothing else begins with wrong ones. Throws UsageError for an unknown fault
// and for a paper that cannot be read.
VirtualScannerOptions checkedOptions(const VirtualScannerOptions& options);

// Whether one of them is given.
bool anyGiven(const VirtualScannerOptions& options);

// A virtual scanner with these options, but for those of time. Throws UsageError as above.
std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualScannerOptions& options);

// The faults that the virtual scanner knows, for the help: name, default position and effect.
std::string faultHelp();

}  // namespace frontend
