#pragma once

#include <memory>

#include "PictureWriter.h"
#include "Rotation.h"

namespace frontend {

// A writer that turns each page before `writer` encodes it, for a rotation but none. A page is written when
// its last row is there, so this one holds a whole page uncompressed, 35 MB for the bed in gray at 600 dots
// per inch, and a band of 64 rows.
std::unique_ptr<PictureWriter> makeRotatedWriter(std::unique_ptr<PictureWriter> writer, Rotation rotation);

}  // namespace frontend
