#pragma once

#include <cstdint>

namespace frontend {

// The time that documents name as that of their creation, in seconds since 1970, UTC: SOURCE_DATE_EPOCH of
// the environment where it is a time up to the year 9999, so that a build that contains a scan is
// reproducible, else the system's clock.
std::int64_t creationTime();

}  // namespace frontend
