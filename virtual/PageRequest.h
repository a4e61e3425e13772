#pragma once

#include <cstddef>
#include <cstdint>

class Element;

namespace virtualscanner {

// What one scan job requests, as read from its parameter tree: the window in pixels at the resolution, and
// the pixel layout. The window may extend beyond the glass.
struct PageRequest {
  std::uint32_t resolution = 0;  // dots per inch, one of the device's
  bool color = false;            // three bytes a pixel, else one
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::uint32_t width = 0;   // pixels, at least 1
  std::uint32_t height = 0;  // rows, at least 1

  std::uint32_t bytesPerPixel() const { return color ? 3 : 1; }
  std::size_t bytesPerRow() const { return std::size_t{width} * bytesPerPixel(); }
  std::uint64_t imageBytes() const { return std::uint64_t{height} * bytesPerRow(); }

  friend bool operator==(const PageRequest&, const PageRequest&) = default;
};

// A window may be this many times as wide and as high as the glass before the device refuses it.
inline constexpr std::int64_t largestWindowInGlasses = 4;

// Decodes a parameter tree, which remains the caller's. Throws ObjectStoreException, with a text fit for an
// exception reply, for a missing or invalid value, for a resolution or pixel layout that the device does not
// support, and for a window that is empty, inverted or far larger than the glass.
PageRequest decodePageRequest(Element& parameters);

}  // namespace virtualscanner
