#include "Utf8.h"

#include <array>
#include <cstdint>

namespace frontend::share {

Utf8Character firstCharacter(std::string_view text) {
  const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {1, lead};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (byteAt(i) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest.at(length) || code > 0x10FFFF || surrogate) return {0, 0};
  return {length, code};
}

}  // namespace frontend::share
