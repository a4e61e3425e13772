#include "Ascii.h"

namespace ascii {

std::string lowered(std::string text) {
  for (char& c : text) c = toLower(c);
  return text;
}

std::string uppered(std::string text) {
  for (char& c : text) c = toUpper(c);
  return text;
}

}  // namespace ascii
