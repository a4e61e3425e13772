#pragma once

#include "CommandLine.h"

namespace frontend {

// "q750 scan": scans pages to files or standard output, and reports on standard error. Throws CommandError
// and OutputError unless every page was scanned and saved. Pages that were scanned whole are saved whatever
// ends the batch (BatchEnd.h).
void runScan(const ScanOptions& options);

}  // namespace frontend
