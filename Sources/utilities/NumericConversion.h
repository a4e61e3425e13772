#pragma once

#include <cstdint>

// Conversions between number types that are defined for every value, NaN and the infinities included, where a
// plain cast would be undefined. Those to integers truncate toward zero. Pure functions, any thread.

// Saturates at both ends of the range; NaN gives 0x80000000 (INT32_MIN).
std::int32_t saturatedToInt32(double value);
std::int32_t saturatedToInt32(float value);

// From 0 up the whole unsigned range, 0xFFFFFFFF from 2^32 on. A negative value is truncated as a signed
// number and its bits read as unsigned (-1.5 gives 0xFFFFFFFF); below the signed range, and for NaN,
// 0x80000000.
std::uint32_t truncatedToUInt32(double value);

// The nearest float; a finite value beyond its range gives the largest finite float of its sign. Infinities
// and NaN are unchanged.
float saturatedToFloat(double value);

// Rounds to the nearest float, ties to even, as the hardware does: a finite value that rounds beyond the
// range gives the infinity of its sign.
float roundedToFloat(double value);
