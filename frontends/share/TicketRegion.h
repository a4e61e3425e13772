#pragma once

#include <cstdint>
#include <optional>

#include "ScanSettings.h"

// Where a ticket's region lies on the bed. Pure functions of integers; any thread; nothing fails.
namespace frontend::share {

// As clients send it, in 1/300 inch from the top left corner, whatever the resolution.
struct TicketRegion {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 1;   // at least 1
  std::uint32_t height = 1;  // at least 1
};

// Whether a part of the region is on the bed.
bool touchesBed(const TicketRegion& region);

// Whether all of it is, or all but a strip of 1/300 inch at the right or at the bottom, which clients request
// because they round, and because A4 is that much longer than the bed.
bool fitsBed(const TicketRegion& region);

// A region at one resolution.
struct PicturePlace {
  PixelArea onBed;         // what can be scanned; not empty
  std::uint32_t rows = 0;  // of the picture: at least those of `onBed`; what follows them is below the bed
};

// Rounds offset and size to pixels, each separately, and cuts off what is outside the bed, except for rows
// below it up to the advertised height: a client that requests A4 gets a picture of that size. The region
// touches the bed; without one, it is the whole bed. At least 1 x 1 pixel.
PicturePlace placeOnBed(const std::optional<TicketRegion>& region, std::uint32_t resolution);

}  // namespace frontend::share
