#pragma once

#include "CommandLine.h"

namespace frontend {

// "q750 doctor": checks what scanning depends on and prints a line for each finding on standard output.
// Throws CommandError with the exit code of the first finding that needs attention.
void runDoctor(const DoctorOptions& options);

}  // namespace frontend
