#include "ProgressDisplay.h"

#include <algorithm>
#include <utility>

namespace frontend {
namespace {

constexpr auto pauseBetweenBars = std::chrono::milliseconds(100);
constexpr unsigned percentBetweenLines = 10;
constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 10;
constexpr std::size_t roomForFigures = 34;  // with a space and two brackets around the bar

std::string bar(std::size_t width, unsigned percent) {
  const std::size_t full = width * percent / 100;
  return "[" + std::string(full, '#') + std::string(width - full, '.') + "] ";
}

}  // namespace

ProgressDisplay::ProgressDisplay(ProgressStyle style, std::size_t columns, TextOutput output, Clock clock)
    : style_(style), columns_(columns), output_(std::move(output)), clock_(std::move(clock)) {}

ProgressDisplay::~ProgressDisplay() {
  finish();
}

void ProgressDisplay::update(const ScanProgress& progress) {
  if (style_ == ProgressStyle::none) return;
  const TimePoint now = clock_();
  meter_.update(progress, now);
  if (style_ == ProgressStyle::bar) {
    drawBar(now);
  } else {
    printLine();
  }
}

void ProgressDisplay::drawBar(TimePoint now) {
  const bool last = meter_.percent() == 100 && shownPercent_ != 100;
  if (drawn_ && now - *drawn_ < pauseBetweenBars && !last) return;
  drawn_ = now;
  shownPercent_ = meter_.percent();
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
