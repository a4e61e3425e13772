#include "Choices.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "Bed.h"

namespace frontend {
namespace {

constexpr std::array<std::string_view, modeNames.size()> modeDescriptions = {"colour", "grey",
                                                                             "black and white"};

}  // namespace

std::string nameOf(PictureMode mode) {
  return std::string(modeNames[static_cast<std::size_t>(mode)]);
}

std::string describe(PictureMode mode) {
  return std::string(modeDescriptions[static_cast<std::size_t>(mode)]);
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& character : lower) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return lower;
}

std::optional<std::size_t> indexIn(std::span<const std::string_view> choices, std::string_view text) {
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found == choices.end()) return std::nullopt;
  return static_cast<std::size_t>(found - choices.begin());
}

std::string listOf(std::span<const std::string_view> choices) {
  std::string list;
  for (const std::string_view& choice : choices) {
    if (!list.empty()) list += &choice == &choices.back() ? " or " : ", ";
    list += choice;
  }
  return list;
}

std::string listOfResolutions() {
  std::vector<std::string> texts;
  for (const std::uint32_t resolution : bedResolutions) texts.push_back(std::to_string(resolution));
  return listOf(std::vector<std::string_view>(texts.begin(), texts.end()));
}

std::string hundredths(std::uint32_t value) {
  char text[40];
  std::snprintf(text, sizeof text, "%u.%02u", value / 100, value % 100);
  return text;
}

std::string inSeconds(std::chrono::milliseconds time) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", std::chrono::duration<double>(time).count());
  return text;
}

}  // namespace frontend
