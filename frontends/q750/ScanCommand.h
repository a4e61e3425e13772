#pragma once

#include "CommandLine.h"

namespace frontend {

// Scans one page into a file, telling progress and what is noteworthy on standard error. Throws CommandError
// for every way in which no picture comes about; no file is left then.
void runScan(const ScanOptions& options);

}  // namespace frontend
