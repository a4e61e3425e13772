#pragma once

#include <cstdint>

namespace frontend {

// How the scanner scans. Lineart is no mode of the scanner: it is made of gray by a threshold
// (ScanRequest.h).
enum class ColorMode : std::uint8_t { color, gray };

}  // namespace frontend
