#pragma once

#include <cstddef>
#include <cstdint>

// Defined by each target: reads one input, `size` bytes that the caller owns, and returns 0. Called any
// number of times in a process; one input must not affect the next. A finding ends the process, see Check.h.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
