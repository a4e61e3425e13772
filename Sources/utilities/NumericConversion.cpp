#include "NumericConversion.h"

#include <cmath>
#include <limits>

namespace {

constexpr double twoToThe31 = 2147483648.0;
constexpr double twoToThe32 = 4294967296.0;

}  // namespace

std::int32_t saturatedToInt32(double value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (value >= twoToThe31) return Limits::max();
  // Everything above -2^31 - 1 truncates to a value of the type.
  if (value > -twoToThe31 - 1.0) return static_cast<std::int32_t>(value);
  return Limits::min();  // NaN too: it compares with nothing.
}

std::int32_t saturatedToInt32(float value) {
  return saturatedToInt32(static_cast<double>(value));
}

std::uint32_t truncatedToUInt32(double value) {
  if (value >= twoToThe32) return std::numeric_limits<std::uint32_t>::max();
  if (value >= 0.0) return static_cast<std::uint32_t>(value);
  return static_cast<std::uint32_t>(saturatedToInt32(value));
}

float saturatedToFloat(double value) {
  constexpr float largest = std::numeric_limits<float>::max();
  if (std::isinf(value))
    return value > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
  if (value > static_cast<double>(largest)) return largest;
  if (value < -static_cast<double>(largest)) return -largest;
  return static_cast<float>(value);
}

float roundedToFloat(double value) {
  // Half-way between the largest float and 2^128: the tie goes to the even one of the two, out of the range.
  constexpr double firstInfinite = 0x1.ffffffp127;
  if (std::abs(value) < firstInfinite || std::isnan(value)) return saturatedToFloat(value);
  constexpr float infinity = std::numeric_limits<float>::infinity();
  return value > 0 ? infinity : -infinity;
}
