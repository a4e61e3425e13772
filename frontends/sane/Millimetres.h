#pragma once

#include <sane/sane.h>

#include <cstdint>
#include <optional>

#include "ScanSettings.h"

// Lengths on the bed in the units of SANE front ends: millimetres as SANE_Fixed.
namespace frontend {

// The corners of an area, in the order of the options: tl-x, tl-y, br-x, br-y.
struct FixedArea {
  SANE_Fixed left = 0;
  SANE_Fixed top = 0;
  SANE_Fixed right = 0;
  SANE_Fixed bottom = 0;
};

// The far corner of the bed; the near one is 0, 0.
SANE_Fixed bedWidthFixed();
SANE_Fixed bedHeightFixed();

// The pixels of an area, cropped to the bed. Nothing if the corners are crossed or the area is smaller
// than one pixel.
std::optional<PixelArea> pixelsOf(const FixedArea& area, std::uint32_t resolution);

}  // namespace frontend
