#include "ProgressDisplay.h"

#include <algorithm>
#include <utility>

#include "JsonObject.h"

namespace frontend {
namespace {

constexpr auto redrawInterval = std::chrono::milliseconds(100);
constexpr unsigned percentPerLine = 10;
constexpr std::size_t widestBar = 40;
constexpr std::size_t narrowestBar = 10;
constexpr std::size_t columnsForFigures = 34;  // with the brackets around the bar and a space

std::string bar(std::size_t width, unsigned percent) {
  const std::size_t full = width * percent / 100;
  return "[" + std::string(full, '#') + std::string(width - full, '.') + "] ";
}

}  // namespace

ProgressDisplay::ProgressDisplay(ProgressStyle style, std::size_t columns, TextOutput output, TimeSource now,
                                 std::uint32_t page)
    : style_(style), columns_(columns), output_(std::move(output)), now_(std::move(now)), page_(page) {}

ProgressDisplay::~ProgressDisplay() {
  finish();
}

void ProgressDisplay::wait() {
  const std::string text = "waiting for the scanner";
  if (style_ == ProgressStyle::bar) redraw(text);
  if (style_ == ProgressStyle::plain) output_("q750: " + text + "\n");
  if (style_ == ProgressStyle::json)
    output_(JsonObject().text("event", "waiting").number("page", page_).line());
}

void ProgressDisplay::update(const ScanProgress& progress) {
  if (style_ == ProgressStyle::none) return;
  const TimePoint now = now_();
  meter_.update(progress, now);
  if (style_ == ProgressStyle::bar) drawBar(now);
  if (style_ == ProgressStyle::plain) printLine();
  if (style_ == ProgressStyle::json) printObject();
}

bool ProgressDisplay::isTooSoon(TimePoint now) const {
  const bool completed = meter_.percent() == 100 && displayedPercent_ != 100U;
  return displayedPercent_ && now - drawnTime_ < redrawInterval && !completed;
}

void ProgressDisplay::drawBar(TimePoint now) {
  if (isTooSoon(now)) return;
  drawnTime_ = now;
  displayedPercent_ = meter_.percent();
  const std::size_t room = columns_ > columnsForFigures ? columns_ - columnsForFigures : 0;
  std::string line = room < narrowestBar ? "" : bar(std::min(room, widestBar), *displayedPercent_);
  redraw(line + meter_.figures());
}

void ProgressDisplay::redraw(std::string line) {
  // The last column stays empty: some terminals wrap after it.
  line.resize(std::min(line.size(), columns_ > 1 ? columns_ - 1 : 0));
  const std::size_t width = line.size();
  if (width < drawnWidth_)
    line.append(drawnWidth_ - width, ' ');  // erases the rest of the longer line before
  drawnWidth_ = width;
  cursorInBar_ = true;
  output_("\r" + line);
}

void ProgressDisplay::printLine() {
  const unsigned percent = meter_.percent();
  if (percent / percentPerLine == displayedPercent_.value_or(0) / percentPerLine) return;
  displayedPercent_ = percent;
  output_("q750: scanning: " + meter_.figures() + "\n");
}

void ProgressDisplay::printObject() {
  if (displayedPercent_ == meter_.percent()) return;
  displayedPercent_ = meter_.percent();
  output_(JsonObject()
              .text("event", "progress")
              .number("page", page_)
              .number("bytes", meter_.latest().bytes)
              .number("total", meter_.latest().total)
              .number("percent", *displayedPercent_)
              .line());
}

void ProgressDisplay::finish() {
  if (cursorInBar_) output_("\n");
  cursorInBar_ = false;
}

}  // namespace frontend
