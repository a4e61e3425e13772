#pragma once

namespace frontend {

// The whole program: reads the command line, does what it says, tells failures on standard error. Returns the
// exit code (ExitCode.h). Does not throw.
int runProgram(int argc, const char* const* argv);

}  // namespace frontend
