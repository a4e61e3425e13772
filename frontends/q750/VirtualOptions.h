#pragma once

#include <memory>
#include <string>

#include "ScanRequest.h"

namespace virtualscanner {
class VirtualScanner;
}

namespace frontend {

// Returns the options once all of them are checked. Reads the paper, whose errors would otherwise appear
// in the worker. Throws UsageError for an unknown fault, for too many of them, and for a paper that
// cannot be read.
VirtualScannerOptions checkedOptions(const VirtualScannerOptions& options);

// Whether any of the options is used.
bool anyUsed(const VirtualScannerOptions& options);

// Creates a virtual scanner with these options, except those about time. Throws UsageError as above.
std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualScannerOptions& options);

// A line for each fault of the virtual scanner, for the help: name, default position and effect.
std::string faultHelp();

}  // namespace frontend
