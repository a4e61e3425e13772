#pragma once

#include <memory>
#include <string>

#include "OwnedDescriptor.h"
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

// Opens the paper; returns no descriptor where the options name none. Throws UsageError for a file that is
// missing or no regular one.
platform::OwnedDescriptor openPaper(const VirtualScannerOptions& options);

// Creates a virtual scanner with these options, except those about time, and with this open paper, if they
// name one. Throws UsageError as checkedOptions() does.
std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualScannerOptions& options,
                                                                   platform::OwnedDescriptor paper);

// A line for each fault of the virtual scanner, for the help: name, default position and effect.
std::string faultHelp();

}  // namespace frontend
