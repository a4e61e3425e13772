#include "TicketRegion.h"

#include <algorithm>

#include "Bed.h"
#include "EsclNames.h"

namespace frontend::share {
namespace {

constexpr std::uint32_t toleratedStrip = 1;

// Sums and products of two lengths need more than 32 bits.
std::uint64_t endOf(std::uint32_t offset, std::uint32_t length) {
  return std::uint64_t{offset} + length;
}

// Rounded half up.
std::uint32_t pixelsOf(std::uint64_t units, std::uint32_t resolution) {
  return static_cast<std::uint32_t>((units * resolution + escl::unitsPerInch / 2) / escl::unitsPerInch);
}

// The length of what is left of a span from `offset` when it is cut at `limit`, which is beyond the offset.
std::uint32_t cutLength(std::uint32_t offset, std::uint32_t length, std::uint32_t limit) {
  return std::min(length, limit - offset);
}

}  // namespace

bool touchesBed(const TicketRegion& region) {
  return region.left < escl::bedWidth && region.top < escl::bedHeight;
}

bool fitsBed(const TicketRegion& region) {
  return endOf(region.left, region.width) <= escl::bedWidth + toleratedStrip &&
         endOf(region.top, region.height) <= escl::bedHeight + toleratedStrip;
}

PicturePlace placeOnBed(const std::optional<TicketRegion>& region, std::uint32_t resolution) {
  const PixelArea bed = wholeBed(resolution);
  if (!region) return {bed, bed.height};
  const auto pixels = [=](std::uint32_t units) { return pixelsOf(units, resolution); };
  PicturePlace place;
  PixelArea& area = place.onBed;
  // A region that begins in the partial pixel at the far edge begins in the last whole one.
  area.left = std::min(pixels(region->left), bed.width - 1);
  area.top = std::min(pixels(region->top), bed.height - 1);
  const std::uint32_t width = cutLength(region->left, region->width, escl::advertisedWidth);
  const std::uint32_t height = cutLength(region->top, region->height, escl::advertisedHeight);
  area.width = cutLength(area.left, std::max(pixels(width), 1U), bed.width);
  place.rows = cutLength(area.top, std::max(pixels(height), 1U), pixels(escl::advertisedHeight));
  area.height = cutLength(area.top, place.rows, bed.height);
  return place;
}

}  // namespace frontend::share
