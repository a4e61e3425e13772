#pragma once

#include <cstdint>

// The exact number of bytes that the process has moved so far: the bytes that code of this project copied by
// memcpy() and memmove(), and those written by system calls, libraries included. Copies of a few bytes that
// the compiler expands inline are not counted, nor are copies inside libraries.
std::uint64_t movedBytes();
