#pragma once

#include <cstdint>

// Reads an integer as the C library's strtol does in the "C" locale: blanks, a sign, digits; with base 16 or
// 0 an "0x" before a hex digit, with base 0 a leading "0" for octal. Unlike strtol it saturates at 32 bits on
// every platform and knows no other prefix. `base` is 0, 8, 10 or 16. `*end` (may be null) is set behind the
// last character used, or to `text` when there is no number, which reads as 0.
std::int32_t readInteger(const char* text, int base, const char** end);
