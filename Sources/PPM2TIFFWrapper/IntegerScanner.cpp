#include "IntegerScanner.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

}  // namespace

std::optional<std::int32_t> IntegerScanner::scanInt() {
  std::string_view text = rest_;
  text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || !isDigit(text.front())) return std::nullopt;

  using Limits = std::numeric_limits<std::int32_t>;
  const std::int64_t largest = negative ? -std::int64_t{Limits::min()} : std::int64_t{Limits::max()};
  std::int64_t magnitude = 0;
  for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) {
    magnitude = std::min<std::int64_t>(magnitude * 10 + (text.front() - '0'), largest);
  }
  rest_ = text;
  return static_cast<std::int32_t>(negative ? -magnitude : magnitude);
}
