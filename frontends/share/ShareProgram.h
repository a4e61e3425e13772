#pragma once

#include <string>

namespace frontend::share {

// q750-share: serves until SIGINT, SIGTERM or SIGHUP, ends running jobs and returns the exit code, one of
// those of q750. Prints the addresses to standard output and a line for each request and scan to standard
// error. `version` is the project's. Called once, by the main thread, before any other thread exists.
int runShareProgram(int argc, const char* const* argv, const std::string& version);

}  // namespace frontend::share
