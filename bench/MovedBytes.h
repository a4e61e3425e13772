#pragma once

#include <cstdint>

// What the process has moved so far, exactly: the bytes that code of this project copied by memcpy() and
// memmove(), and those written by system calls, libraries included. Copies that the compiler expands in
// place, of a few bytes, do not count, nor does what libraries copy inside themselves.
std::uint64_t movedBytes();
