#pragma once

#include <string>

// Character classes and case of the ASCII range, whatever the locale: <cctype> would let the host's locale
// decide what a message means. A byte from 0x80 up belongs to no class. Pure functions, any thread.
namespace ascii {

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
constexpr bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}
constexpr bool isLetter(char c) {
  return isUpper(c) || isLower(c);
}
constexpr bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr char toUpper(char c) {
  return isLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char toLower(char c) {
  return isUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

// Copies with the letters converted to the other case; all other bytes are unchanged.
std::string lowered(std::string text);
std::string uppered(std::string text);

}  // namespace ascii
