#include "IntegerText.h"

#include <limits>

#include "Ascii.h"

namespace {

constexpr int noDigit = 36;

int digitValue(char c) {
  if (ascii::isDigit(c)) return c - '0';
  if (ascii::isLetter(c)) return ascii::toLower(c) - 'a' + 10;
  return noDigit;
}

// "0x" alone is the number 0 followed by text, as in strtol.
bool startsHexadecimal(const char* text) {
  return text[0] == '0' && ascii::toLower(text[1]) == 'x' && digitValue(text[2]) < 16;
}

std::int32_t signedAndSaturated(std::int64_t magnitude, bool negative) {
  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t value = negative ? -magnitude : magnitude;
  if (value > Limits::max()) return Limits::max();
  if (value < Limits::min()) return Limits::min();
  return static_cast<std::int32_t>(value);
}

}  // namespace

std::int32_t readInteger(const char* text, int base, const char** end) {
  const char* position = text;
  while (ascii::isBlank(*position)) ++position;
  const bool negative = *position == '-';
  if (*position == '-' || *position == '+') ++position;
  if ((base == 0 || base == 16) && startsHexadecimal(position)) {
    base = 16;
    position += 2;
  }
  if (base == 0) base = *position == '0' ? 8 : 10;

  // Digits past this bound are skipped: they cannot change a result that saturates, and could overflow.
  constexpr std::int64_t pastEveryResult = std::int64_t{1} << 32;
  std::int64_t magnitude = 0;
  const char* const digits = position;
  for (; digitValue(*position) < base; ++position) {
    if (magnitude < pastEveryResult) magnitude = magnitude * base + digitValue(*position);
  }
  if (end != nullptr) *end = position == digits ? text : position;
  return signedAndSaturated(magnitude, negative);
}
