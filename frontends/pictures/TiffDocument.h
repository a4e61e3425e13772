#pragma once

#include <cstdint>

namespace frontend {

// The number of pages of a TIFF (classic or BigTIFF, in either byte order) that a program has written whole.
// Reads all directories and no pixels. Leaves the position of the descriptor anywhere. Throws
// std::runtime_error with a clause ("it is not a TIFF file") for anything else.
std::uint32_t pagesOfTiff(int descriptor);

}  // namespace frontend
