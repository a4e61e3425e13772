/*
 * The bridge from C to the system log. Plain C (C99 and later) and C++.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define Q750_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define Q750_PRINTF_LIKE
#endif

/**
 * Writes one line to the system log, formatted as by printf. At most 2039 bytes of the text are logged, the
 * rest is cut off; a text that cannot be formatted is logged as an empty line. The text is not interpreted
 * again: a percent sign in it is an ordinary character. The log writes the line to standard error with time
 * stamp, program name and process id. Any thread; keeps none of the arguments and throws nothing.
 */
void BridgeNSLog(const char* format, ...) Q750_PRINTF_LIKE;

#ifdef __cplusplus
}
#endif
