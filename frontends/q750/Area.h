#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ScanSettings.h"

namespace frontend {

enum class LengthUnit : std::uint8_t { millimetres, inches, pixels };

struct Length {
  double value;  // 0 to 100000
  LengthUnit unit;

  friend bool operator==(const Length&, const Length&) = default;
};

// A part of the bed in the user's units.
struct AreaRequest {
  Length left;
  Length top;
  Length width;
  Length height;

  friend bool operator==(const AreaRequest&, const AreaRequest&) = default;
};

// Reads LEFTxTOP+WIDTHxHEIGHT:
//
//   area   = length "x" length "+" length "x" length
//   length = digits [ "." digits ] [ unit ]
//   unit   = "mm" | "in" | "px"
//
// Either every length has a unit, or only the last one, which then applies to all four. Lengths in px are
// whole numbers. No blanks, no signs. Throws UsageError for anything else, with an example in the message.
AreaRequest parseArea(std::string_view text);

struct PlacedArea {
  PixelArea area;
  std::uint32_t cutPixels;  // beyond the edge of the bed, in the direction that loses more
};

// The pixels of an area at a resolution of the bed: each length is rounded to the nearest pixel, and the area
// cut off at the edges of the bed. Throws UsageError for an area without a pixel on the bed.
PlacedArea placeOnBed(const AreaRequest& request, std::uint32_t resolution);

}  // namespace frontend
