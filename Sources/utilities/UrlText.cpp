#include <cstddef>

#include "Ascii.h"
#include "StringUtils.h"

// Narrower than the unreserved set of RFC 3986: "-" and "~" are encoded as well.
static bool isKeptInUrl(char c) {
  return ascii::isLetter(c) || ascii::isDigit(c) || c == '_' || c == '.';
}

std::string URLEncodeString(std::string text) {
  constexpr char hexDigits[] = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    if (isKeptInUrl(c)) {
      encoded += c;
    } else if (c == ' ') {
      encoded += '+';
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += '%';
      encoded += hexDigits[byte >> 4];
      encoded += hexDigits[byte & 0xF];
    }
  }
  return encoded;
}

std::string URLDecodeString(std::string text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      char hex[3] = {};
      for (std::size_t digit = 0; digit < 2 && i + 1 < text.size(); ++digit) hex[digit] = text[++i];
      // A digit that is missing stays NUL, which shortens the hex text: "%4" at the end is the byte 4.
      unsigned char byte = 0;
      ahtom(hex, &byte);
      decoded += static_cast<char>(byte);
    } else {
      decoded += text[i] == '+' ? ' ' : text[i];
    }
  }
  return decoded;
}
