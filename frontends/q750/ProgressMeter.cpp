#include "ProgressMeter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace frontend {
namespace {

constexpr double bytesPerMegabyte = 1e6;
constexpr double longestTimeLeft = 359999;  // 99:59:59, which fits the screen and every integer

std::string formatted(const char* format, auto... values) {
  char text[64];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

std::string hoursAndMinutes(std::chrono::seconds time) {
  const auto seconds = static_cast<long>(time.count());
  if (seconds >= 3600) return formatted("%ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60, seconds % 60);
  return formatted("%ld:%02ld", seconds / 60, seconds % 60);
}

}  // namespace

void ProgressMeter::update(const ScanProgress& progress, TimePoint now) {
  if (!firstTime_ && progress.bytes > 0) {
    firstTime_ = now;
    firstBytes_ = progress.bytes;
  }
  latest_ = progress;
  latestTime_ = now;
}

unsigned ProgressMeter::percent() const {
  if (latest_.total == 0) return 0;
  return static_cast<unsigned>(std::min(latest_.bytes, latest_.total) * 100 / latest_.total);
}

std::optional<double> ProgressMeter::bytesPerSecond() const {
  if (!firstTime_ || latestTime_ <= *firstTime_) return std::nullopt;
  const std::chrono::duration<double> elapsed = latestTime_ - *firstTime_;
  return static_cast<double>(latest_.bytes - firstBytes_) / elapsed.count();
}

std::optional<std::chrono::seconds> ProgressMeter::timeLeft() const {
  const auto rate = bytesPerSecond();
  if (!rate || *rate <= 0) return std::nullopt;
  const double seconds = static_cast<double>(latest_.total - std::min(latest_.bytes, latest_.total)) / *rate;
  return std::chrono::seconds(std::lround(std::min(seconds, longestTimeLeft)));
}

std::string ProgressMeter::figures() const {
  std::string text = formatted("%3u %%", percent());
  if (const auto rate = bytesPerSecond()) text += formatted("  %.1f MB/s", *rate / bytesPerMegabyte);
  const auto left = timeLeft();
  if (left && percent() < 100) text += "  " + hoursAndMinutes(*left) + " left";
  return text;
}

}  // namespace frontend
