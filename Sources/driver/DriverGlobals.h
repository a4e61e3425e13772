#pragma once

/// @file
/// The variables that all drivers of the process share, besides `totalBytesRead`. Exported under these plain
/// names, which is why they have C linkage: without it the string would carry an ABI tag. Plain C (C99 and
/// later), which sees the flag alone, and C++. No locks: they belong to the thread that scans.

#ifdef __cplusplus
#include <cstdint>
#include <map>
#include <string>

class CScannerDriver;

extern "C" {
#else
#include <stdint.h>
#endif

/// 0 while image data may still arrive, 1 once the image of the job is judged complete.
extern int32_t endJobPage;

#ifdef __cplusplus
/// The result of the latest response of a device; after "create" the name of the job that it made.
extern std::string glJobName;

/// The registry of drivers by the USB location of their device, owning nothing. No code inserts into it: it
/// is empty, unless a host that knows the name fills it. A driver is the object whose address is a handle.
extern std::map<unsigned long, CScannerDriver*> gType1Map;
}
#endif
