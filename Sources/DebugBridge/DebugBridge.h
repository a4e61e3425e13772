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
 * Writes one line to the system log, formatted in the manner of printf. At most 2039 bytes of the text are
 * logged, the rest is cut off; what cannot be formatted is logged as an empty line. The text is not
 * interpreted again: a percent sign in it stands for itself. The line goes to standard error with time stamp,
 * program name and process id. Any thread; nothing is kept of the arguments, nothing is thrown.
 */
void BridgeNSLog(const char* format, ...) Q750_PRINTF_LIKE;

#ifdef __cplusplus
}
#endif
