#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Color.h"

namespace virtualscanner {

// A place or a distance on the test chart, in 1/2400 inch.
struct Point {
  std::int64_t x;
  std::int64_t y;
};

// Right and bottom are the first coordinates outside.
struct Box {
  std::int64_t left;
  std::int64_t top;
  std::int64_t right;
  std::int64_t bottom;

  bool contains(Point p) const { return p.x >= left && p.x < right && p.y >= top && p.y < bottom; }
  std::int64_t width() const { return right - left; }
  std::int64_t height() const { return bottom - top; }
};

// One shape printed on the test chart. All arithmetic is in integers, so that every machine prints the
// same chart. Immutable.
class Shape {
 public:
  virtual ~Shape() = default;

  // The box that encloses all ink.
  const Box& bounds() const { return bounds_; }
  // Whether there is ink at a point. TestChart calls this and colorAt() only for points within the bounds.
  virtual bool covers(Point p) const = 0;
  // The colour of the ink at a point that the shape covers.
  virtual Color colorAt(Point) const { return color_; }
  // Whether each row is covered from edge to edge in one colour; TestChart paints such rows faster.
  virtual bool hasPlainRows() const { return false; }

 protected:
  Shape(const Box& bounds, Color color) : bounds_(bounds), color_(color) {}

 private:
  Box bounds_;
  Color color_;
};

class Rectangle final : public Shape {
 public:
  Rectangle(const Box& box, Color color) : Shape(box, color) {}
  bool covers(Point) const override { return true; }
  bool hasPlainRows() const override { return true; }
};

enum class Direction : std::uint8_t { rightward, downward };

// Changes evenly from one colour to another.
class Gradient final : public Shape {
 public:
  Gradient(const Box& box, Direction direction, Color from, Color to)
      : Shape(box, from), direction_(direction), from_(from), to_(to) {}
  bool covers(Point) const override { return true; }
  Color colorAt(Point p) const override;
  bool hasPlainRows() const override { return direction_ == Direction::downward; }

 private:
  Direction direction_;
  Color from_;
  Color to_;
};

// A disc, or a ring if the hole has a radius.
class Ring final : public Shape {
 public:
  Ring(Point centre, std::int64_t radius, std::int64_t hole, Color color)
      : Shape({centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius}, color),
        centre_(centre),
        radius_(radius),
        hole_(hole) {}
  bool covers(Point p) const override;

 private:
  Point centre_;
  std::int64_t radius_;
  std::int64_t hole_;
};

// Convex, its corners clockwise.
class Polygon final : public Shape {
 public:
  Polygon(std::vector<Point> corners, Color color);
  bool covers(Point p) const override;

 private:
  std::vector<Point> corners_;
};

// A disc of 36 alternately inked and blank sectors, which reveals the resolution in every direction.
class Star final : public Shape {
 public:
  Star(Point centre, std::int64_t radius, Color color)
      : Shape({centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius}, color),
        centre_(centre),
        radius_(radius) {}
  bool covers(Point p) const override;

 private:
  Point centre_;
  std::int64_t radius_;
};

enum class Pattern : std::uint8_t { vertical, horizontal, diagonal, checkered };

// Lines, or squares, as wide as the blanks between them.
class Lines final : public Shape {
 public:
  Lines(const Box& box, Pattern pattern, std::int64_t lineWidth, Color color)
      : Shape(box, color), pattern_(pattern), lineWidth_(lineWidth) {}
  bool covers(Point p) const override;

 private:
  Pattern pattern_;
  std::int64_t lineWidth_;
};

// One line of capitals, from its top left corner; see ChartFont.h.
class Text final : public Shape {
 public:
  Text(Point corner, std::int64_t dotSize, std::string text, Color color);
  bool covers(Point p) const override;
  static std::int64_t widthOf(const std::string& text, std::int64_t dotSize);

 private:
  std::int64_t dotSize_;
  std::string text_;
};

// Ticks every tenth of an inch, longer at every half and longest at every inch, starting at the top or left
// edge of the box and counted from the edge of the glass.
class Ruler final : public Shape {
 public:
  Ruler(const Box& box, Direction direction, Color color) : Shape(box, color), direction_(direction) {}
  bool covers(Point p) const override;

 private:
  Direction direction_;
};

}  // namespace virtualscanner
