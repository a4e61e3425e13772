#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "Ascii.h"
#include "StringUtils.h"

namespace {

// Two rules and no validation: a digit is its code - 48, anything else its upper-case code - 55. Hosts may
// rely on the result for a foreign character, so it is kept, truncated to a byte.
constexpr std::array<unsigned char, 256> makeNibbleTable() {
  std::array<unsigned char, 256> table{};
  for (int code = 0; code < 256; ++code) {
    int value = code - 55;
    if (code >= '0' && code <= '9') value = code - 48;
    if (code >= 'a' && code <= 'z') value = code - 'a' + 'A' - 55;
    table[static_cast<std::size_t>(code)] = static_cast<unsigned char>(value & 0xFF);
  }
  return table;
}

constexpr auto nibbles = makeNibbleTable();

}  // namespace

unsigned char* ahtom(const char* hexText, unsigned char* output) {
  // From the end, so that the odd digit of a text is its first.
  const auto* const text = reinterpret_cast<const unsigned char*>(hexText);
  std::size_t left = std::strlen(hexText);
  unsigned char* out = output + (left + 1) / 2;
  for (; left >= 2; left -= 2) {
    *--out = static_cast<unsigned char>(nibbles[text[left - 2]] << 4 | nibbles[text[left - 1]]);
  }
  if (left == 1) *--out = nibbles[text[0]];
  return output;
}

void printHexBuffer(const unsigned char* bytes, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    if (i % 16 == 0 && i != 0) std::putchar('\n');
    std::printf("%02X ", static_cast<unsigned>(bytes[i]));
  }
  std::putchar('\n');
}
