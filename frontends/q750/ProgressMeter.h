#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ScanProgress.h"

namespace frontend {

using TimePoint = std::chrono::steady_clock::time_point;
using TimeSource = std::function<TimePoint()>;

// Computes percentage, rate and remaining time of one page from the bytes received so far. Prints nothing
// and reads no clock. The rate is the average since the first bytes, so that the scanner's warm-up does
// not distort it.
class ProgressMeter {
 public:
  // Neither the bytes nor the time decrease from one call to the next.
  void update(const ScanProgress& progress, TimePoint now);

  const ScanProgress& latest() const { return latest_; }
  // 0 to 100, rounded down: 100 only when every byte has arrived.
  unsigned percent() const;
  // Nothing before bytes have arrived at two different times.
  std::optional<double> bytesPerSecond() const;
  std::optional<std::chrono::seconds> timeLeft() const;

  // " 42 %  12.3 MB/s  0:03 left", as far as known; at 100 % without time left.
  std::string figures() const;

 private:
  ScanProgress latest_{0, 0};
  std::uint64_t firstBytes_ = 0;
  std::optional<TimePoint> firstTime_;
  TimePoint latestTime_;
};

}  // namespace frontend
