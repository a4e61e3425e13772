#include "Millimetres.h"

#include <algorithm>
#include <cmath>

#include "Bed.h"

namespace frontend {
namespace {

constexpr double micrometresPerMillimetre = 1000;

// Front ends truncate what SANE_Fixed cannot hold: 12.7 mm arrives slightly short. The nearest micrometre is
// what the user entered.
double millimetresOf(SANE_Fixed length) {
  return std::round(SANE_UNFIX(length) * micrometresPerMillimetre) / micrometresPerMillimetre;
}

std::int64_t pixels(double millimetres, std::uint32_t resolution) {
  return std::llround(millimetres / millimetresPerInch * resolution);
}

// One direction of an area, in pixels.
struct Stretch {
  std::int64_t begin;
  std::int64_t length;
};

// From `first` to `last`, at most to the end of the bed, `limit`.
Stretch stretch(SANE_Fixed first, SANE_Fixed last, std::uint32_t resolution, std::uint32_t limit) {
  const double begin = millimetresOf(first);
  const std::int64_t start = pixels(begin, resolution);
  const std::int64_t length = pixels(millimetresOf(last) - begin, resolution);
  return {start, std::min<std::int64_t>(length, std::int64_t{limit} - start)};
}

}  // namespace

SANE_Fixed bedWidthFixed() {
  return SANE_FIX(bedWidthInches * millimetresPerInch);
}

SANE_Fixed bedHeightFixed() {
  return SANE_FIX(bedHeightInches * millimetresPerInch);
}

std::optional<PixelArea> pixelsOf(const FixedArea& area, std::uint32_t resolution) {
  const PixelArea bed = wholeBed(resolution);
  const Stretch across = stretch(area.left, area.right, resolution, bed.width);
  const Stretch down = stretch(area.top, area.bottom, resolution, bed.height);
  if (across.length < 1 || down.length < 1) return std::nullopt;
  return PixelArea{static_cast<std::uint32_t>(across.begin), static_cast<std::uint32_t>(down.begin),
                   static_cast<std::uint32_t>(across.length), static_cast<std::uint32_t>(down.length)};
}

}  // namespace frontend
