#include "UsbPath.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace platform {

std::string UsbPath::text() const {
  std::string text = std::to_string(bus) + "-" + std::to_string(ports[0]);
  for (std::size_t n = 1; n < ports.size() && ports[n - 1] != 0 && ports[n] != 0; ++n)
    text += "." + std::to_string(ports[n]);
  return text;
}

std::optional<UsbPath> UsbPath::parse(std::string_view text) {
  UsbPath path;
  const char* at = text.data();
  const char* const end = at + text.size();
  const auto number = [&at, end](std::uint8_t& value) {
    const auto read = std::from_chars(at, end, value);
    at = read.ptr;
    return read.ec == std::errc();
  };
  const auto skip = [&at, end](char mark) { return at != end && *at++ == mark; };
  bool valid = number(path.bus) && skip('-') && number(path.ports[0]);
  for (std::size_t n = 1; valid && at != end; ++n)
    valid = n < path.ports.size() && skip('.') && number(path.ports[n]);
  // Writing it again rejects every other spelling: leading zeros, ports after a 0, and the like.
  if (!valid || path.bus == 0 || path.text() != text) return std::nullopt;
  return path;
}

std::uint32_t UsbPath::location() const {
  std::uint32_t location = std::uint32_t{bus} << 24;
  int shift = 20;
  for (const std::uint8_t port : std::span(ports).first<6>()) {
    location |= std::min<std::uint32_t>(port, 15) << shift;
    shift -= 4;
  }
  return location;
}

}  // namespace platform
