#pragma once

#include <cstdlib>

// Ends the program if a property does not hold, so that a wrong result counts as a crash: the fuzzer keeps
// the input, and the stack shows the line.
inline void check(bool holds) {
  if (!holds) std::abort();
}
