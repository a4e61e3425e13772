#pragma once

#include <cstddef>
#include <cstdint>

namespace frontend {

// The filter that suits a row of 8-bit samples best, as the PNG library's constant PNG_FILTER_...: the one
// whose differences, as signed bytes, have the smallest sum of magnitudes. The library has the same rule and
// takes the same decision, but looks at one byte at a time, which costs more than compressing a page of text;
// here the loops are such that the compiler uses vectors. `above` is the previous row, all 0 before the
// first. Rows have `size` bytes, `pixel` of them a pixel, 1 or 3. Changes nothing, never fails.
int bestPngFilter(const std::uint8_t* row, const std::uint8_t* above, std::size_t size, std::size_t pixel);

}  // namespace frontend
