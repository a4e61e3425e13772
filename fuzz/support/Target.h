#pragma once

#include <cstddef>
#include <cstdint>

// What a target defines: reads one input, `size` bytes that stay the caller's, and returns 0. Called
// any number of times in a process; nothing of one input may reach the next. A finding ends the
// process, see Check.h.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
