#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ScanProgress.h"

namespace frontend {

using TimePoint = std::chrono::steady_clock::time_point;
using Clock = std::function<TimePoint()>;

// Turns how many bytes have come, and when, into the figures that people want to see. Prints nothing. The
// rate is the average since the first bytes, so that the scanner's warming up does not spoil it.
class ProgressMeter {
 public:
  // Neither falls from one call to the next.
  void update(const ScanProgress& progress, TimePoint now);

  // 0 to 100; 100 only when everything has come.
  unsigned percent() const;
  // Nothing until two moments are known.
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
