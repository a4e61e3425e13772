#pragma once

namespace frontend {

// The whole program: parses the command line, runs the command and reports errors on standard error. Returns
// the exit code (ExitCode.h). Never throws.
int runProgram(int argc, const char* const* argv);

// A terminate handler: where an allocation failed that nothing could catch, before main() or in a function
// that must not throw, reports that and exits with the code for it, without unwinding. Aborts otherwise.
[[noreturn]] void endWithoutMemory();

}  // namespace frontend
