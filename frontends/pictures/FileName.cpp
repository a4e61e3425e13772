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

}  // namespace

std::string extensionOf(const std::string& path) {
  std::string extension = path.substr(std::min(extensionPoint(path) + 1, path.size()));
  for (char& character : extension) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return extension;
}

std::string numberedName(const std::string& path, std::uint32_t number) {
  for (std::size_t at = path.find('%', nameStart(path)); at != std::string::npos;
       at = path.find('%', at + 1)) {
    const std::string_view rest = std::string_view(path).substr(at + 1);
    if (rest.starts_with('d')) return path.substr(0, at) + padded(number, 1) + path.substr(at + 2);
    if (rest.size() > 2 && rest[0] == '0' && rest[1] >= '1' && rest[1] <= '9' && rest[2] == 'd') {
      return path.substr(0, at) + padded(number, static_cast<std::size_t>(rest[1] - '0')) +
             path.substr(at + 4);
    }
  }
  const std::size_t point = extensionPoint(path);
  return path.substr(0, point) + "-" + std::to_string(number) + path.substr(point);
}

}  // namespace frontend
