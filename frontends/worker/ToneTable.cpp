#include "ToneTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace frontend {
namespace {

constexpr double white = 255;

// 1 at a contrast of 0, 3 at 50; at 100 steep enough that every sample becomes black or white.
double slopeOf(std::int32_t contrast) {
  constexpr double steepest = 100'000;
  return contrast == 100 ? steepest : (100.0 + contrast) / (100.0 - contrast);
}

}  // namespace

ToneTable toneTable(const Tone& tone) {
  ToneTable table{};
  for (std::size_t sample = 0; sample < table.size(); ++sample) {
    double value = static_cast<double>(sample);
    // pow() need not be exact, not even for an exponent of 1.
    if (tone.gammaHundredths != 100) value = white * std::pow(value / white, 100.0 / tone.gammaHundredths);
    value = (value - white / 2) * slopeOf(tone.contrast) + white / 2;
    value += white * tone.brightness / 100;
    table[sample] = static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, white)));
  }
  return table;
}

}  // namespace frontend
