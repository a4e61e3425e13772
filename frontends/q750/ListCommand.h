#pragma once

#include "CommandLine.h"

namespace frontend {

// Shows the scanners there are on standard output, and on standard error what is wrong with the USB.
void runList(const ListOptions& options);

}  // namespace frontend
