#pragma once

// Reads a double as the C library's atof does in the "C" locale: the point is a point wherever the process
// runs. What stands behind the number is ignored; text that is none reads as 0. Any thread.
double readDouble(const char* text);
