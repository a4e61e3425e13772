#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ProgressMeter.h"

namespace frontend {

using TextOutput = std::function<void(std::string_view text)>;

enum class ProgressStyle : std::uint8_t { bar, plain, json, none };

// Shows the progress of one scan: a bar that is drawn again and again on the last line of a terminal, at most
// ten times a second, a line at about every tenth elsewhere, or, for programs, a JSON object in a
// line for each percent. Plain ASCII.
class ProgressDisplay {
 public:
  // `columns` is the width of the terminal, for bars. `page` is named in JSON only.
  ProgressDisplay(ProgressStyle style, std::size_t columns, TextOutput output, Clock clock,
                  std::uint32_t page = 1);
  // As finish().
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  void update(const ScanProgress& progress);
  // Leaves the terminal's cursor at the start of a line of its own, for whatever is printed next.
  void finish();

 private:
  void drawBar(TimePoint now);
  void printLine();
  void printObject(TimePoint now);
  // Whether something was shown too short a time ago to show `percent` now.
  bool tooSoon(TimePoint now);

  ProgressStyle style_;
  std::size_t columns_;
  TextOutput output_;
  Clock clock_;
  std::uint32_t page_;
  ProgressMeter meter_;
  std::optional<TimePoint> shown_;
  std::size_t drawnWidth_ = 0;
  unsigned shownPercent_ = 0;
  bool barStands_ = false;
};

}  // namespace frontend
