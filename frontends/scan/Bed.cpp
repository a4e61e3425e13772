#include "Bed.h"

#include <algorithm>

namespace frontend {
namespace {

// The size in hundredths of an inch, so that no rounding can cost a row.
constexpr std::uint32_t widthInHundredths = 850;
constexpr std::uint32_t heightInHundredths = 1169;

}  // namespace

bool isBedResolution(std::uint32_t resolution) {
  return std::find(bedResolutions.begin(), bedResolutions.end(), resolution) != bedResolutions.end();
}

std::uint32_t trueResolution(ColorMode mode, std::uint32_t resolution) {
  return mode == ColorMode::color ? std::min(resolution, highestColorResolution) : resolution;
}

PixelArea wholeBed(std::uint32_t resolution) {
  return {0, 0, widthInHundredths * resolution / 100, heightInHundredths * resolution / 100};
}

}  // namespace frontend
