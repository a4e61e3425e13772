#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Exceptions.h"
#include "StringUtils.h"

// The library's decoders of texts, each into a block of exactly the size that its contract requires.

inline std::string decodeBase64(const std::string& text, std::size_t capacity) {
  std::vector<unsigned char> output(capacity);
  const std::int32_t count = Base64ToStr(text.c_str(), output.data(), static_cast<std::int32_t>(capacity));
  return {output.begin(), output.begin() + count};
}

inline std::string decodeHex(const std::string& text) {
  std::vector<unsigned char> output((std::char_traits<char>::length(text.c_str()) + 1) / 2);
  ahtom(text.c_str(), output.data());
  return {output.begin(), output.end()};
}

// 0 for a text that is not an integer.
inline std::int32_t integerIn(const std::string& text) {
  try {
    return StringToi(text);
  } catch (const ValueConversionException&) {
    return 0;
  }
}
