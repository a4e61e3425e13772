#pragma once

namespace frontend {

// The whole program: parses the command line, runs the command and reports errors on standard error. Returns
// the exit code (ExitCode.h). Never throws.
int runProgram(int argc, const char* const* argv);

}  // namespace frontend
