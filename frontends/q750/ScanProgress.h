#pragma once

#include <cstdint>

namespace frontend {

// How much of the picture's raster has arrived. `bytes` never falls and never exceeds `total`.
struct ScanProgress {
  std::uint64_t bytes;
  std::uint64_t total;
};

}  // namespace frontend
