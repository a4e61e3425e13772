#include "Bed.h"

#include <algorithm>

namespace frontend {

bool isBedResolution(std::uint32_t resolution) {
  return std::find(bedResolutions.begin(), bedResolutions.end(), resolution) != bedResolutions.end();
}

std::uint32_t trueResolution(ColorMode mode, std::uint32_t resolution) {
  return mode == ColorMode::color ? std::min(resolution, highestColorResolution) : resolution;
}

PixelArea wholeBed(std::uint32_t resolution) {
  return {0, 0, bedWidthInHundredths * resolution / 100, bedHeightInHundredths * resolution / 100};
}

}  // namespace frontend
