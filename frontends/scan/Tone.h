#pragma once

#include <cstdint>

namespace frontend {

// Brightness, contrast and gamma of a color or gray picture, as the user sets them; the defaults leave every
// byte as the scanner sent it. Ranges are in ScanLimits.h, the arithmetic in the worker's ToneTable.h.
struct Tone {
  std::int32_t brightness = 0;          // percent of the whole scale; positive is lighter
  std::int32_t contrast = 0;            // -100 makes the picture plain gray, 100 leaves black and white
  std::uint32_t gammaHundredths = 100;  // above 100 lightens the midtones

  bool isNeutral() const { return *this == Tone(); }
  friend bool operator==(const Tone&, const Tone&) = default;
};

}  // namespace frontend
