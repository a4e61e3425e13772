#pragma once

#include "CommandLine.h"
#include "ScannerInventory.h"

namespace frontend {

// "q750 list": prints the scanners there are on standard output, and why real ones cannot be found on
// standard error (in JSON as a member). Throws OutputError, and what printInventory() throws.
void runList(const ListOptions& options);

// The same for an inventory that was taken. A system without USB, such as a container, has no scanner:
// that is not an error. Where USB could not be examined, throws CommandError with the code of the problem
// after printing the list: whoever relies on the exit status must not take it for complete.
void printInventory(const ScannerInventory& inventory, bool json);

}  // namespace frontend
