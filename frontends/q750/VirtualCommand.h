#pragma once

#include <string>

#include "CommandLine.h"
#include "ListenAddress.h"

namespace frontend {

// "q750 virtual": offers a virtual scanner over USB/IP and blocks until a signal stops it. Confines the
// process for good before it serves the first client. Throws CommandError: usage for an invalid address, busy
// for one in use, accessDenied for one on which this user may not listen.
void runVirtual(const ServeOptions& options);

// Where the server listens, and the commands that attach the scanner.
std::string attachText(const virtualscanner::ListenAddress& address);

}  // namespace frontend
