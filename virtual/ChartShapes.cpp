#include "ChartShapes.h"

#include <algorithm>
#include <utility>

#include "ChartFont.h"
#include "Glass.h"

namespace virtualscanner {
namespace {

std::uint8_t between(std::uint8_t from, std::uint8_t to, std::int64_t distance, std::int64_t whole) {
  const std::int64_t scaled = from * (whole - distance) + to * distance;
  return static_cast<std::uint8_t>((scaled + whole / 2) / whole);
}

Box boundsOf(const std::vector<Point>& corners) {
  Box box{corners[0].x, corners[0].y, corners[0].x, corners[0].y};
  for (const Point& p : corners) {
    box = {std::min(box.left, p.x), std::min(box.top, p.y), std::max(box.right, p.x),
           std::max(box.bottom, p.y)};
  }
  return box;
}

// The sector of ten degrees, 0 to 8, of a direction with positive x and non-negative y.
std::int64_t sectorInQuadrant(Point direction) {
  constexpr std::int64_t tangents[] = {1763,  3640,  5774,  8391,
                                       11918, 17321, 27475, 56713};  // of 10 to 80 degrees
  std::int64_t sector = 0;
  for (const std::int64_t tangent : tangents) {
    if (direction.y * 10000 >= direction.x * tangent) ++sector;
  }
  return sector;
}

}  // namespace

Color Gradient::colorAt(Point p) const {
  const bool rightward = direction_ == Direction::rightward;
  const std::int64_t distance = rightward ? p.x - bounds().left : p.y - bounds().top;
  const std::int64_t whole = rightward ? bounds().width() : bounds().height();
  return {between(from_.red, to_.red, distance, whole), between(from_.green, to_.green, distance, whole),
          between(from_.blue, to_.blue, distance, whole)};
}

bool Ring::covers(Point p) const {
  const std::int64_t dx = p.x - centre_.x;
  const std::int64_t dy = p.y - centre_.y;
  const std::int64_t square = dx * dx + dy * dy;
  return square < radius_ * radius_ && square >= hole_ * hole_;
}

Polygon::Polygon(std::vector<Point> corners, Color color)
    : Shape(boundsOf(corners), color), corners_(std::move(corners)) {}

bool Polygon::covers(Point p) const {
  for (std::size_t i = 0; i < corners_.size(); ++i) {
    const Point& a = corners_[i];
    const Point& b = corners_[(i + 1) % corners_.size()];
    if ((b.x - a.x) * (p.y - a.y) < (b.y - a.y) * (p.x - a.x)) return false;
  }
  return true;
}

bool Star::covers(Point p) const {
  Point direction{p.x - centre_.x, p.y - centre_.y};
  if (direction.x * direction.x + direction.y * direction.y >= radius_ * radius_) return false;
  std::int64_t quadrant = 0;
  while (quadrant < 3 && !(direction.x > 0 && direction.y >= 0)) {
    direction = {direction.y, -direction.x};
    ++quadrant;
  }
  return (quadrant * 9 + sectorInQuadrant(direction)) % 2 == 0;
}

bool Lines::covers(Point p) const {
  const std::int64_t column = (p.x - bounds().left) / lineWidth_;
  const std::int64_t row = (p.y - bounds().top) / lineWidth_;
  switch (pattern_) {
    case Pattern::vertical:
      return column % 2 == 0;
    case Pattern::horizontal:
      return row % 2 == 0;
    case Pattern::diagonal:
      return (p.x - bounds().left + p.y - bounds().top) / lineWidth_ % 2 == 0;
    case Pattern::checkered:
      return (column + row) % 2 == 0;
  }
  return false;
}

Text::Text(Point corner, std::int64_t dotSize, std::string text, Color color)
    : Shape({corner.x, corner.y, corner.x + widthOf(text, dotSize), corner.y + glyphRows * dotSize}, color),
      dotSize_(dotSize),
      text_(std::move(text)) {}

std::int64_t Text::widthOf(const std::string& text, std::int64_t dotSize) {
  return (static_cast<std::int64_t>(text.size()) * cellColumns - 1) * dotSize;
}

bool Text::covers(Point p) const {
  return isTextDot(text_, (p.x - bounds().left) / dotSize_, (p.y - bounds().top) / dotSize_);
}

bool Ruler::covers(Point p) const {
  const std::int64_t along = direction_ == Direction::rightward ? p.x : p.y;
  const std::int64_t across = direction_ == Direction::rightward ? p.y - bounds().top : p.x - bounds().left;
  const std::int64_t whole = direction_ == Direction::rightward ? bounds().height() : bounds().width();
  constexpr std::int64_t tenth = unitsPerInch / 10;
  constexpr std::int64_t lineWidth = unitsPerInch / 75;
  if (along % tenth >= lineWidth) return false;
  const std::int64_t tick = along / tenth;
  return across < (tick % 10 == 0 ? whole : tick % 5 == 0 ? whole * 2 / 3 : whole / 3);
}

}  // namespace virtualscanner
