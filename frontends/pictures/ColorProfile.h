#pragma once

#include <string>

#include "PictureLayout.h"

namespace frontend {

// The ICC profile of pictures of this layout: sRGB for color, gray of gamma 2.2 for gray, and empty for
// lineart, whose black and white are those of the medium. Version 2 of the format, which PDF 1.4 and every
// later reader supports. The bytes are the same on every machine and at every time. Created once per process;
// the reference stays valid until its end. Thread-safe. Throws std::bad_alloc.
const std::string& colorProfileOf(const PictureLayout& layout);

}  // namespace frontend
