#pragma once

#include <string>

#include "CommandLine.h"
#include "ListenAddress.h"

namespace frontend {

// Offers a virtual scanner over USB/IP until a signal ends it. Throws CommandError: usage for an address that
// cannot be, busy for one in use, accessDenied where the user may not listen there.
void runVirtual(const ServeOptions& options);

// Where it listens, and how a user attaches the scanner.
std::string attachText(const virtualscanner::ListenAddress& address);

}  // namespace frontend
