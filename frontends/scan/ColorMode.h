#pragma once

#include <cstdint>

namespace frontend {

// How the scanner scans. Lineart is not one of the scanner's modes: it is made of gray by a threshold
// (ScanRequest.h).
enum class ColorMode : std::uint8_t { color, gray };

}  // namespace frontend
