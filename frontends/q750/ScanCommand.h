#pragma once

#include "CommandLine.h"

namespace frontend {

// "q750 scan": scans pages to files or standard output, and reports on standard error. Throws CommandError
// and OutputError unless every page was scanned and saved. After an error the pages before it are saved;
// after a cancel only the files that were complete by then remain.
void runScan(const ScanOptions& options);

}  // namespace frontend
