#pragma once

/// @file
/// The variables, other than `totalBytesRead`, that all drivers of the process share. Exported under these
/// plain names, which is why they have C linkage: without it the string would carry an ABI tag. Plain C (C99
/// and later), which sees the flag alone, and C++. No locks: only the scanning thread uses them.

#ifdef __cplusplus
#include <cstdint>
#include <map>
#include <string>

class CScannerDriver;

extern "C" {
#else
#include <stdint.h>
#endif

/// 0 while image data may still arrive, 1 once the image of the job is considered complete.
extern int32_t endJobPage;

#ifdef __cplusplus
/// The result of the latest response of a device; after "create" the name of the job created.
extern std::string glJobName;

/// The registry of drivers by the USB location of their device; does not own them. No code of the library
/// inserts into it: it is empty unless a host fills it. A driver is the object whose address is a handle.
extern std::map<unsigned long, CScannerDriver*> gType1Map;
}
#endif
