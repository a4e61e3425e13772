#pragma once

#include <cstdint>
#include <string_view>

namespace virtualscanner {

// The font of the test chart: glyphs of 5 x 7 dots in cells of 6 x 7.
inline constexpr std::int64_t glyphColumns = 5;
inline constexpr std::int64_t glyphRows = 7;
inline constexpr std::int64_t cellColumns = 6;

// Whether the dot of a text is set; columns count from the left of the first cell, rows from the top.
// Capitals, digits and . , - + / have glyphs; every other character is blank. False outside the text.
bool isTextDot(std::string_view text, std::int64_t column, std::int64_t row);

}  // namespace virtualscanner
