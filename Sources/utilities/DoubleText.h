#pragma once

// Reads a double as the C library's atof does in the "C" locale: a point separates the decimals whatever
// locale the process has. Text after the number is ignored; text that is not a number reads as 0. Throws
// std::bad_alloc if the "C" locale cannot be made. Any thread.
double readDouble(const char* text);
