#pragma once

#include <cstdint>
#include <optional>

namespace platform {

// The system's version as the platform that the library was designed for reports it: binary-coded decimal,
// 0x1030 for 10.3.0. Nothing if it cannot be read. This system reports itself as 10.4, so that grey images
// are stored with 0 as black.
std::optional<std::int32_t> systemVersion();

// Makes systemVersion() return `version` from now on (nothing for "cannot be read"). For tests; one thread
// at a time.
void overrideSystemVersion(std::optional<std::int32_t> version);
// Ends the override.
void restoreSystemVersion();

}  // namespace platform
