#include "FileName.h"

#include <algorithm>
#include <string_view>

namespace frontend {
namespace {

// The index of the first character after the folders.
std::size_t nameStart(const std::string& path) {
  return path.rfind('/') + 1;
}

// The index of the point before the extension, or the length.
std::size_t extensionPoint(const std::string& path) {
  const std::size_t point = path.rfind('.');
  return point == std::string::npos || point <= nameStart(path) ? path.size() : point;
}

std::string padded(std::uint32_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

// What begins with the percent sign at the start of a text.
struct Place {
  enum class Kind : std::uint8_t { percentSign, number, invalid };

  Kind kind;
  std::size_t length;     // in the text
  std::size_t width = 1;  // of the number
};

Place placeAt(std::string_view text) {
  const std::string_view rest = text.substr(1);
  if (rest.starts_with('%')) return {Place::Kind::percentSign, 2};
  if (rest.starts_with('d')) return {Place::Kind::number, 2};
  if (rest.size() > 2 && rest[0] == '0' && rest[1] >= '1' && rest[1] <= '9' && rest[2] == 'd')
    return {Place::Kind::number, 4, static_cast<std::size_t>(rest[1] - '0')};
  return {Place::Kind::invalid, std::min<std::size_t>(text.size(), 2)};
}

// Calls visit(place, its index) for every place, in order.
template <typename Visit>
void forEachPlace(const std::string& path, const Visit& visit) {
  for (std::size_t at = path.find('%', nameStart(path)); at != std::string::npos;) {
    const Place place = placeAt(std::string_view(path).substr(at));
    visit(place, at);
    at = path.find('%', at + place.length);
  }
}

}  // namespace

std::string extensionOf(const std::string& path) {
  std::string extension = path.substr(std::min(extensionPoint(path) + 1, path.size()));
  for (char& character : extension) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return extension;
}

std::string invalidPlaceIn(const std::string& path) {
  std::string found;
  forEachPlace(path, [&](const Place& place, std::size_t at) {
    if (place.kind == Place::Kind::invalid && found.empty()) found = path.substr(at, place.length);
  });
  return found;
}

bool hasPlaceForNumber(const std::string& path) {
  bool found = false;
  forEachPlace(path, [&](const Place& place, std::size_t) { found |= place.kind == Place::Kind::number; });
  return found;
}

std::string expandedName(const std::string& path, std::uint32_t number) {
  std::string name;
  std::size_t copied = 0;
  forEachPlace(path, [&](const Place& place, std::size_t at) {
    name += path.substr(copied, at - copied);
    name += place.kind == Place::Kind::number ? padded(number, place.width) : "%";
    copied = at + place.length;
  });
  return name + path.substr(copied);
}

std::string numberedName(const std::string& path, std::uint32_t number) {
  if (hasPlaceForNumber(path)) return expandedName(path, number);
  const std::size_t point = extensionPoint(path);
  return expandedName(path.substr(0, point) + "-%d" + path.substr(point), number);
}

}  // namespace frontend
