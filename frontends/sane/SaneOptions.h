#pragma once

#include <sane/sane.h>

#include <cstdint>
#include <optional>

#include "Millimetres.h"
#include "PictureLayout.h"
#include "ScanLimits.h"
#include "ScanRequest.h"

namespace frontend {

// The options of one handle: their descriptors, their values, and what depends on what. The mode decides
// which resolutions there are, what the depth is, and whether there is a threshold. Knows no scan; one thread
// at a time.
//
// The number of options is fixed, and a descriptor stays where it is as long as the object lives; its content
// may change when set() says that options are to be read anew.
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
    threshold,
    geometryGroup,
    left,
    top,
    right,
    bottom,
    numberOfOptions
  };

  SaneOptions();
  SaneOptions(const SaneOptions&) = delete;
  SaneOptions& operator=(const SaneOptions&) = delete;

  // Null where there is no such option.
  const SANE_Option_Descriptor* descriptor(SANE_Int index) const;

  // Writes the value, at most the descriptor's size. INVAL: there is no such option, it has no value
  // (groups), or it is inactive.
  SANE_Status get(SANE_Int index, void* value) const;

  // Takes the value, or the legal one next to it, which is written back with SANE_INFO_INEXACT. `info` gets
  // exactly what changed. INVAL leaves all as it was: there is no such option, it cannot be set now, or the
  // value is none at all (an unknown string, a truth value that is neither true nor false).
  SANE_Status set(SANE_Int index, void* value, SANE_Int* info);

  // What a scan with these values asks for: mode, resolution, area and threshold. Nothing where the area is
  // none that can be scanned.
  std::optional<ScanRequest> request() const;

  // What the picture will look like. For an area that cannot be scanned, one of a single pixel.
  PictureLayout expectedPicture() const;

 private:
  enum class Mode : std::uint8_t { color, gray, lineart };

  void describe(Index index, const char* name, const char* title, const char* text);
  void describeStrings(Index index, const SANE_String_Const* list);
  void describeEdge(Index index, const SANE_Range* range);
  void followMode();
  SANE_Status setMode(const char* text, SANE_Int* info);
  SANE_Status setWord(Index index, SANE_Word& value, SANE_Int* info);
  ScanRequest requestFor(const PixelArea& area) const;

  SANE_Option_Descriptor descriptors_[numberOfOptions] = {};
  SANE_Word words_[numberOfOptions] = {};  // of the options that are one word
  Mode mode_ = limits::defaultMode == ColorMode::color ? Mode::color : Mode::gray;
};

}  // namespace frontend
