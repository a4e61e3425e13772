#pragma once

#include <sane/sane.h>

#include <cstdint>
#include <optional>

#include "Millimetres.h"
#include "PictureLayout.h"
#include "ScanLimits.h"
#include "ScanRequest.h"
#include "Tone.h"

namespace frontend {

// The options of one handle: descriptors, values and dependencies. The mode determines the resolutions and
// the depth. Options may be set in any order: a resolution that the mode does not have is remembered for the
// modes that do, and enhancements can be set in every mode, although only Lineart uses the threshold and only
// Color and Gray the others. Independent of any scan. One thread at a time; nothing throws but
// std::bad_alloc.
//
// The number of options is fixed, and descriptors keep their addresses for the life of the object; their
// content may change when set() reports SANE_INFO_RELOAD_OPTIONS.
class SaneOptions {
 public:
  enum Index : SANE_Int {
    count,
    standardGroup,
    mode,
    depth,
    resolution,
    source,
    preview,
    geometryGroup,
    left,
    top,
    right,
    bottom,
    enhancementGroup,
    threshold,
    brightness,
    contrast,
    gamma,
    numberOfOptions
  };

  SaneOptions();
  SaneOptions(const SaneOptions&) = delete;
  SaneOptions& operator=(const SaneOptions&) = delete;

  // Null if there is no such option.
  const SANE_Option_Descriptor* descriptor(SANE_Int index) const;

  // Writes the value, at most the descriptor's size. INVAL: there is no such option, or it is a group without
  // a value.
  SANE_Status get(SANE_Int index, void* value) const;

  // Sets the value, or the nearest legal one, which is written back with SANE_INFO_INEXACT. `info` receives
  // exactly what changed. INVAL changes nothing: there is no such option, it cannot be set now, or the value
  // is invalid (an unknown string, a Boolean that is neither true nor false).
  SANE_Status set(SANE_Int index, void* value, SANE_Int* info);

  // The scan that the values describe: mode, resolution, area and enhancements. Nothing if the area is empty.
  std::optional<ScanRequest> request() const;

  // The layout of its picture. If the area is empty, that of a single pixel.
  PictureLayout expectedPicture() const;

 private:
  enum class Mode : std::uint8_t { color, gray, lineart };

  void describeStandardOptions();
  void describeGeometry();
  void describeEnhancements();
  void followMode();
  SANE_Status setMode(const char* text, SANE_Int* info);
  SANE_Status setWord(Index index, SANE_Word& value, SANE_Int* info);
  ScanRequest requestFor(const PixelArea& area) const;
  Tone tone() const;

  SANE_Option_Descriptor descriptors_[numberOfOptions] = {};
  SANE_Word words_[numberOfOptions] = {};  // in effect, of the options that are one word
  SANE_Word requestedResolution_ = limits::defaultResolution;
  Mode mode_ = limits::defaultMode == ColorMode::color ? Mode::color : Mode::gray;
};

}  // namespace frontend
