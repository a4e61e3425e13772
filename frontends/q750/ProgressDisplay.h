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

// Displays the progress of one page in ASCII: as a bar that is redrawn on the last line of a terminal, at
// most ten times a second; as a line for every ten percent; or, for programs, as a JSON object on a line for
// every percent. Before the first update it displays, in the same style, that the scanner is waited for. One
// thread.
class ProgressDisplay {
 public:
  // `columns` is the width of the terminal and matters to bars only; `page` is reported in JSON only.
  ProgressDisplay(ProgressStyle style, std::size_t columns, TextOutput output, TimeSource now,
                  std::uint32_t page = 1);
  // As finish().
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  // Reports that nothing has arrived yet: a lamp may need a minute to warm up. Once, before the updates.
  void wait();
  void update(const ScanProgress& progress);
  // Moves the cursor below the bar, if one was drawn, for whatever is printed next. Harmless a second time.
  void finish();

 private:
  void drawBar(TimePoint now);
  void redraw(std::string line);
  void printLine();
  void printObject();
  bool isTooSoon(TimePoint now) const;

  ProgressStyle style_;
  std::size_t columns_;
  TextOutput output_;
  TimeSource now_;
  std::uint32_t page_;
  ProgressMeter meter_;
  std::optional<unsigned> displayedPercent_;
  TimePoint drawnTime_;
  std::size_t drawnWidth_ = 0;
  bool cursorInBar_ = false;  // on the line of a bar, whatever its width
};

}  // namespace frontend
