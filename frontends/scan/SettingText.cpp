#include "SettingText.h"

#include <algorithm>

namespace frontend {

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(settingBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(settingBlanks) - begin + 1);
}

std::string printable(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return result;
}

}  // namespace frontend
