#include "StringUtils.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "Ascii.h"
#include "Exceptions.h"
#include "IntegerText.h"

namespace {

struct Prefix {
  std::string_view text;
  int base;
};

// Tested in this order. "0o" never matches, since "0" is tested first: "0o17" is bad text.
constexpr std::array<Prefix, 3> prefixes = {{{"#", 16}, {"0", 0}, {"0o", 8}}};

}  // namespace

std::string iToString(std::int32_t value) {
  return std::to_string(value);
}

std::string ulToString(std::uint32_t value) {
  return std::to_string(value);
}

// Not printf: the host's locale would choose the character before the decimals.
std::string fToString(float value) {
  std::array<char, 64> buffer{};  // The largest float takes 46 characters.
  char* const end = buffer.data() + buffer.size();
  const auto result =
      std::to_chars(buffer.data(), end, static_cast<double>(value), std::chars_format::fixed, 6);
  return {buffer.data(), result.ptr};
}

std::int32_t StringToi(std::string text) {
  std::size_t skipped = 0;
  int base = 0;
  for (const Prefix& prefix : prefixes) {
    if (text.starts_with(prefix.text)) {
      skipped = prefix.text.size();
      base = prefix.base;
      break;
    }
  }
  const char* end = nullptr;
  const std::int32_t value = readInteger(text.c_str() + skipped, base, &end);
  if (*end != '\0') throw ValueConversionException("Illegal conversion");
  return value;
}

std::string StringToUpperCase(std::string text) {
  return ascii::uppered(std::move(text));
}
