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

// A part of the glass in the user's units.
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
// Either every length has its unit, or the last alone has one, which then holds for all four. Lengths in px
// are whole numbers. No blanks, no signs. Throws UsageError for anything else, with an example in the
// message.
AreaRequest parseArea(std::string_view text);

struct PlacedArea {
  PixelArea area;
  std::uint32_t cutPixels;  // what was left out because it reached past the glass, of the larger loss
};

// The pixels of an area at a resolution of the bed: each length rounded to the nearest pixel, cut at the
// edges of the glass. Throws UsageError for an area that has no pixel on the glass.
PlacedArea placeOnBed(const AreaRequest& request, std::uint32_t resolution);

}  // namespace frontend
