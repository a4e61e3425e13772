#pragma once

#include "CommandLine.h"

namespace frontend {

// "q750 doctor": checks what scanning depends on and prints the findings on standard output: each on a line
// as soon as it is known, or all in one JSON document at the end. Throws CommandError with the exit code of
// the first finding that needs attention.
void runDoctor(const DoctorOptions& options);

}  // namespace frontend
