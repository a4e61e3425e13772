#pragma once

#include <array>
#include <cstdint>

#include "Tone.h"

namespace frontend {

// The new value of each sample of 8 bits: gamma first, then contrast about the middle of the scale, then
// brightness, each on the exact value that the one before gives; rounded once and kept within 0 and 255. Any
// tone within its ranges gives a table that never falls; the neutral one changes nothing.
using ToneTable = std::array<std::uint8_t, 256>;
ToneTable toneTable(const Tone& tone);

}  // namespace frontend
