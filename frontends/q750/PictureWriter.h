#pragma once

#include <cstdint>
#include <string>

#include "ByteSink.h"
#include "PictureFormat.h"
#include "Raster.h"

namespace frontend {

// What a picture file says beside its pixels.
struct PictureNotes {
  std::uint32_t resolution;  // dots per inch, both directions
  std::string software;      // "q750 1.0.0"
};

// Writes a picture that is not empty. Whether it worked is the sink's good(). The same picture and notes give
// the same bytes every time.
void writePicture(PictureFormat format, ByteSink& sink, const Raster& raster, const PictureNotes& notes);

// TIFF 6.0, Deflate with horizontal differencing. The sink must be able to seek.
void writeTiff(ByteSink& sink, const Raster& raster, const PictureNotes& notes);
void writePng(ByteSink& sink, const Raster& raster, const PictureNotes& notes);
// PGM or PPM (P5, P6); the resolution stands in a comment.
void writePnm(ByteSink& sink, const Raster& raster, const PictureNotes& notes);

}  // namespace frontend
