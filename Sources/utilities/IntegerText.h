#pragma once

#include <cstdint>

// Reads an integer as the C library's strtol does in the "C" locale: blanks, a sign, digits; with base 16 or
// 0 an "0x" before a hex digit, with base 0 a leading "0" for octal. Unlike strtol it saturates at 32 bits on
// every platform and accepts no other prefix. `base` is 0, 8, 10 or 16. `end` may be null; else *end is set
// past the last character used, or to `text` if there is no number, which reads as 0. Any thread.
std::int32_t readInteger(const char* text, int base, const char** end);
