#pragma once

#include "CommandLine.h"

namespace frontend {

// Scans one page or several into files or to standard output, telling progress and what is noteworthy on
// standard error. Throws CommandError for every way in which not all of them come about. What a failure
// leaves are the pages before it; a cancel leaves only files that were finished before.
void runScan(const ScanOptions& options);

}  // namespace frontend
