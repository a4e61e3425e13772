#pragma once

#include "CommandLine.h"

namespace frontend {

// Looks at all that scanning needs and says on standard output what is well and what to do. Throws
// CommandError with the exit code of the first thing that asks for attention.
void runDoctor(const DoctorOptions& options);

}  // namespace frontend
