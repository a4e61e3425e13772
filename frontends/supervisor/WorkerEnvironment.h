#pragma once

#include <vector>

namespace frontend {

// The environment of a worker: of that of the application ("NAME=value", the last entry null, as environ(7)),
// the variables for language and time zone, for finding and preloading libraries, and for the diagnostics of
// the C library, libusb, sanitizers and emulated devices. Whatever else an application has there, keys and
// passwords included, is nothing to the code that reads a scanner.
//
// Borrows the texts. The last entry of the result is null too. Throws std::bad_alloc.
std::vector<char*> workerEnvironment(char* const* environment);

}  // namespace frontend
