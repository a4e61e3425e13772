#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "HostGuard.h"
#include "Pieces.h"

// A request in lines: the method, then the values of five headers. A line that is missing, or is "-", is a
// header that is absent. Capital letters in front of the method encode the rest: P for the page, O for
// HTTP/1.0, T for TLS.
inline frontend::share::RequestSource sourceIn(std::string_view text) {
  std::array<std::optional<std::string_view>, 6> lines;
  for (std::size_t i = 0; i < lines.size() && !text.empty(); ++i) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line != "-") lines.at(i) = line;
  }
  const std::string_view first = lines[0].value_or("");
  const std::size_t space = first.find(' ');
  const std::string_view flags = space == std::string_view::npos ? "" : first.substr(0, space);
  const auto has = [&](char flag) { return flags.find(flag) != std::string_view::npos; };
  return {first.substr(space + 1),
          has('P'),
          has('O'),
          has('T'),
          lines[1],
          lines[2],
          lines[3],
          lines[4],
          lines[5]};
}

// Every letter in the other case.
inline std::string inOtherCase(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) c = static_cast<char>(c ^ 0x20);
  }
  return result;
}
