#include "ScanLimits.h"

#include <charconv>
#include <cmath>

namespace frontend::limits {

std::optional<std::chrono::milliseconds> timeoutFromSeconds(std::string_view text) {
  using Seconds = std::chrono::duration<double>;
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end) return std::nullopt;
  // Not a number, which from_chars() reads too, is in no range.
  const Seconds seconds(value);
  if (!(seconds >= Seconds(shortestTimeout) && seconds <= Seconds(longestTimeout))) return std::nullopt;
  return std::chrono::milliseconds(std::llround(value * 1000));
}

}  // namespace frontend::limits
