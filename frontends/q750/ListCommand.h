#pragma once

#include "CommandLine.h"

namespace frontend {

// "q750 list": prints the scanners there are on standard output, and why real ones cannot be found on
// standard error (in JSON as a member). Throws OutputError.
void runList(const ListOptions& options);

}  // namespace frontend
