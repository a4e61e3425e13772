#include "CreationTime.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <string_view>

namespace frontend {

std::int64_t creationTime() {
  constexpr std::int64_t endOf9999 = 253'402'300'799;
  const char* const fixed = std::getenv("SOURCE_DATE_EPOCH");
  const std::string_view text = fixed != nullptr ? fixed : "";
  std::int64_t seconds = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error == std::errc() && rest == text.data() + text.size() && seconds >= 0 && seconds <= endOf9999)
    return seconds;
  using namespace std::chrono;
  return duration_cast<std::chrono::seconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace frontend
