#include "ProgressDisplay.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "JsonLine.h"

namespace frontend {
namespace {

constexpr auto pauseBetween = std::chrono::milliseconds(100);
constexpr unsigned percentBetweenLines = 10;
constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 10;
constexpr std::size_t roomForFigures = 34;  // with a space and two brackets around the bar

std::string bar(std::size_t width, unsigned percent) {
  const std::size_t full = width * percent / 100;
  return "[" + std::string(full, '#') + std::string(width - full, '.') + "] ";
}

}  // namespace

ProgressDisplay::ProgressDisplay(ProgressStyle style, std::size_t columns, TextOutput output, Clock clock,
                                 std::uint32_t page)
    : style_(style), columns_(columns), output_(std::move(output)), clock_(std::move(clock)), page_(page) {}

ProgressDisplay::~ProgressDisplay() {
  finish();
}

void ProgressDisplay::update(const ScanProgress& progress) {
  if (style_ == ProgressStyle::none) return;
  const TimePoint now = clock_();
  meter_.update(progress, now);
  if (style_ == ProgressStyle::bar) drawBar(now);
  if (style_ == ProgressStyle::plain) printLine();
  if (style_ == ProgressStyle::json) printObject(now);
}

bool ProgressDisplay::tooSoon(TimePoint now) {
  const bool last = meter_.percent() == 100 && shownPercent_ != 100;
  if (shown_ && now - *shown_ < pauseBetween && !last) return true;
  shown_ = now;
  shownPercent_ = meter_.percent();
  return false;
}

void ProgressDisplay::printObject(TimePoint now) {
  if (shown_ && meter_.percent() == shownPercent_) return;
  shown_ = now;
  shownPercent_ = meter_.percent();
  const ScanProgress& progress = meter_.latest();
  output_(jsonLine({{"event", "progress"},
                    {"page", page_},
                    {"bytes", progress.bytes},
                    {"total", progress.total},
                    {"percent", meter_.percent()}}));
}

void ProgressDisplay::drawBar(TimePoint now) {
  if (tooSoon(now)) return;
  const std::size_t room = columns_ > roomForFigures ? columns_ - roomForFigures : 0;
  std::string line = room < narrowestBar ? "" : bar(std::min(room, widestBar), shownPercent_);
  line += meter_.figures();
  // The last column stays free: some terminals would go to the next line.
  line.resize(std::min(line.size(), columns_ > 1 ? columns_ - 1 : 0));
  const std::size_t width = line.size();
  if (width < drawnWidth_) line.append(drawnWidth_ - width, ' ');
  drawnWidth_ = width;
  barStands_ = true;
  output_("\r" + line);
}

void ProgressDisplay::printLine() {
  const unsigned percent = meter_.percent();
  if (percent / percentBetweenLines == shownPercent_ / percentBetweenLines) return;
  shownPercent_ = percent;
  output_("q750: scanning: " + meter_.figures() + "\n");
}

void ProgressDisplay::finish() {
  if (barStands_) output_("\n");
  barStands_ = false;
}

}  // namespace frontend
