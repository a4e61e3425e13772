#include "TestChart.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

#include "PixelRuns.h"

namespace virtualscanner {
namespace {

constexpr std::int64_t hundredth = unitsPerInch / 100;  // of an inch, the unit of the layout below
constexpr std::int64_t margin = 50;
constexpr std::int64_t pageWidth = glassWidth / hundredth;
constexpr std::int64_t pageHeight = glassHeight / hundredth;
constexpr std::int64_t smallDot = hundredth * 3 / 2;

constexpr Color red{220, 20, 30}, green{20, 150, 60}, blue{25, 60, 190}, cyan{0, 170, 220},
    magenta{205, 20, 130}, yellow{255, 215, 0}, ink{30, 30, 40}, cream{255, 246, 224};

Box box(std::int64_t left, std::int64_t top, std::int64_t width, std::int64_t height) {
  return {left * hundredth, top * hundredth, (left + width) * hundredth, (top + height) * hundredth};
}

Point at(std::int64_t x, std::int64_t y) {
  return {x * hundredth, y * hundredth};
}

}  // namespace

TestChart::TestChart() {
  printEdges();
  printCornerMarks();
  printTitle();
  printColorPatches();
  printGreyRamps();
  printLinePatterns();
  printSeaPiece();
  printBoat();
  printStar();
  printFooter();
}

Color TestChart::colorAt(std::int64_t x, std::int64_t y) const {
  const Point point{x, y};
  for (auto shape = shapes_.rbegin(); shape != shapes_.rend(); ++shape) {
    if ((*shape)->bounds().contains(point) && (*shape)->covers(point)) return (*shape)->colorAt(point);
  }
  return white;
}

void TestChart::paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                         std::uint8_t* rgb) const {
  std::memset(rgb, 255, std::size_t{width} * 3);
  const std::int64_t y = pixelCentre(resolution, row);
  for (const auto& shape : shapes_) {
    const Box& bounds = shape->bounds();
    if (y < bounds.top || y >= bounds.bottom) continue;
    const std::int64_t first = std::max(firstPixelFrom(bounds.left, resolution), left);
    const std::int64_t end = std::min(firstPixelFrom(bounds.right, resolution), left + width);
    if (first >= end) continue;
    if (shape->hasPlainRows()) {
      fillPixels(rgb + (first - left) * 3, end - first, shape->colorAt({bounds.left, y}));
      continue;
    }
    for (std::int64_t column = first; column < end; ++column) {
      const Point point{pixelCentre(resolution, column), y};
      if (shape->covers(point)) fillPixels(rgb + (column - left) * 3, 1, shape->colorAt(point));
    }
  }
}

void TestChart::printCentred(std::int64_t middle, std::int64_t top, std::int64_t dotSize,
                             const std::string& text, Color color) {
  const Point corner{middle * hundredth - Text::widthOf(text, dotSize) / 2, top * hundredth};
  print<Text>(corner, dotSize, text, color);
}

// A frame at the very edge of the glass, so that a row or column lost on any side is noticed.
void TestChart::printEdges() {
  constexpr std::int64_t line = 3;
  print<Rectangle>(box(0, 0, pageWidth, line), black);
  print<Rectangle>(box(0, pageHeight - line, pageWidth, line), black);
  print<Rectangle>(box(0, 0, line, pageHeight), black);
  print<Rectangle>(box(pageWidth - line, 0, line, pageHeight), black);
  print<Ruler>(box(line, line, pageWidth - 2 * line, 15), Direction::rightward, ink);
  print<Ruler>(box(line, line, 15, pageHeight - 2 * line), Direction::downward, ink);
}

// Square, ring, triangle and cross, clockwise from the top left.
void TestChart::printCornerMarks() {
  constexpr std::int64_t inset = 35, size = 54, half = size / 2, arm = 18;
  constexpr std::int64_t right = pageWidth - inset, bottom = pageHeight - inset;
  print<Rectangle>(box(inset, inset, size, size), ink);
  print<Ring>(at(right - half, inset + half), half * hundredth, half / 2 * hundredth, red);
  print<Polygon>(std::vector{at(inset + half, bottom - size), at(inset + size, bottom), at(inset, bottom)},
                 blue);
  print<Rectangle>(box(right - size, bottom - half - arm / 2, size, arm), green);
  print<Rectangle>(box(right - half - arm / 2, bottom - size, arm, size), green);
}

void TestChart::printTitle() {
  constexpr std::int64_t middle = pageWidth / 2;
  printCentred(middle, 42, 4 * hundredth, "QUENVAR Q750 TEST CHART", ink);
  printCentred(middle, 82, smallDot, "8.5 X 11.69 INCHES - THIS EDGE IS THE TOP", ink);
}

void TestChart::printColorPatches() {
  struct Patch {
    Color color;
    const char* name;
    Color lettering;
  };
  constexpr std::array<Patch, 12> patches{{{{255, 0, 0}, "RED", white},
                                           {{0, 255, 0}, "GREEN", black},
                                           {{0, 0, 255}, "BLUE", white},
                                           {{0, 255, 255}, "CYAN", black},
                                           {{255, 0, 255}, "MAGENTA", black},
                                           {{255, 255, 0}, "YELLOW", black},
                                           {{222, 165, 130}, "SKIN", black},
                                           {{88, 110, 60}, "LEAF", white},
                                           {{110, 160, 215}, "SKY", black},
                                           {{235, 125, 35}, "ORANGE", black},
                                           {{100, 60, 150}, "VIOLET", white},
                                           {{105, 65, 45}, "EARTH", white}}};
  constexpr std::int64_t perRow = 6, width = 115, height = 78, gap = 12, top = 118;
  for (std::size_t i = 0; i < patches.size(); ++i) {
    const std::int64_t left = margin + static_cast<std::int64_t>(i) % perRow * (width + gap);
    const std::int64_t y = top + static_cast<std::int64_t>(i) / perRow * (height + gap);
    print<Rectangle>(box(left, y, width, height), patches[i].color);
    print<Text>(at(left + 6, y + height - 16), smallDot, patches[i].name, patches[i].lettering);
  }
}

void TestChart::printGreyRamps() {
  constexpr std::int64_t steps = 16, width = 750, top = 304, stepHeight = 44, rampHeight = 32, thin = 12;
  print<Rectangle>(box(margin - 2, top - 2, width + 4, stepHeight + rampHeight + 4 + 3 * thin), ink);
  for (std::int64_t i = 0; i < steps; ++i) {
    const auto level = static_cast<std::uint8_t>(i * 255 / (steps - 1));
    const std::int64_t left = width * i / steps;
    print<Rectangle>(box(margin + left, top, width * (i + 1) / steps - left, stepHeight),
                     Color{level, level, level});
  }
  std::int64_t y = top + stepHeight;
  print<Gradient>(box(margin, y, width, rampHeight), Direction::rightward, black, white);
  y += rampHeight;
  for (const Color& color : {Color{255, 0, 0}, Color{0, 255, 0}, Color{0, 0, 255}}) {
    print<Gradient>(box(margin, y, width, thin), Direction::rightward, black, color);
    y += thin;
  }
}

void TestChart::printLinePatterns() {
  printPatternGroup(48, Pattern::vertical, "VERTICAL");
  printPatternGroup(240, Pattern::horizontal, "HORIZONTAL");
  printPatternGroup(432, Pattern::diagonal, "DIAGONAL");
  printPatternGroup(624, Pattern::checkered, "CHECKERED");
}

// Lines of 1/25, 2/75, 1/75 and 1/150 inch. Swatches are placed at multiples of 1/25 inch, so that the lines
// of the last two coincide with the pixels of 75 and 150 dots per inch.
void TestChart::printPatternGroup(std::int64_t left, Pattern pattern, const std::string& label) {
  constexpr std::int64_t top = 444, width = 40, height = 100, gap = 4;
  std::int64_t x = left;
  for (const std::int64_t lineWidth : {96, 64, 32, 16}) {
    print<Lines>(box(x, top, width, height), pattern, lineWidth, black);
    x += width + gap;
  }
  printCentred(left + (4 * width + 3 * gap) / 2, top + height + 8, smallDot, label, ink);
}

void TestChart::printSeaPiece() {
  constexpr std::int64_t left = 50, top = 590, width = 480, sky = 280, sea = 150;
  print<Rectangle>(box(left - 4, top - 4, width + 8, sky + sea + 8), ink);
  print<Gradient>(box(left, top, width, sky), Direction::downward, Color{70, 130, 210}, Color{255, 226, 190});
  print<Gradient>(box(left, top + sky, width, sea), Direction::downward, Color{40, 130, 150},
                  Color{10, 45, 95});
  print<Ring>(at(left + 385, top + 90), 42 * hundredth, 0, Color{255, 240, 150});
  print<Ring>(at(left + 385, top + 90), 34 * hundredth, 0, Color{255, 205, 60});
  for (std::int64_t i = 0; i < 5; ++i) {
    const std::int64_t y = top + sky + 12 + i * 13;
    print<Rectangle>(box(left + 372 - i * 9, y, 26 + i * 18, 4), Color{250, 210, 120});
  }
}

// Asymmetric: mirrored or rotated by any angle it looks different.
void TestChart::printBoat() {
  constexpr std::int64_t water = 905, mast = 225;
  print<Polygon>(std::vector{at(mast - 8, 640), at(mast - 8, 855), at(mast - 130, 855)}, cream);
  print<Polygon>(std::vector{at(mast + 8, 680), at(mast + 108, 855), at(mast + 8, 855)}, red);
  print<Rectangle>(box(mast - 4, 625, 8, 245), Color{90, 55, 30});
  print<Polygon>(std::vector{at(mast + 4, 608), at(mast + 52, 620), at(mast + 4, 634)}, yellow);
  print<Rectangle>(box(mast - 4, 606, 8, 30), Color{90, 55, 30});
  print<Polygon>(
      std::vector{at(mast - 145, 866), at(mast + 150, 866), at(mast + 100, water), at(mast - 105, water)},
      Color{120, 50, 30});
  print<Polygon>(
      std::vector{at(mast - 145, 866), at(mast + 150, 866), at(mast + 139, 875), at(mast - 136, 875)}, white);
  print<Text>(at(mast - 62, 880), 2 * hundredth, "Q750", cream);
}

void TestChart::printStar() {
  constexpr std::int64_t x = 678, y = 716;
  print<Ring>(at(x, y), 126 * hundredth, 122 * hundredth, ink);
  print<Star>(at(x, y), 116 * hundredth, ink);
  print<Ring>(at(x, y), 10 * hundredth, 0, red);
  const std::array<Color, 6> swatches{cyan, magenta, yellow, red, green, blue};
  for (std::size_t i = 0; i < swatches.size(); ++i) {
    const Point centre = at(575 + static_cast<std::int64_t>(i) * 41, 884);
    print<Ring>(centre, 17 * hundredth, 0, swatches[i]);
  }
  print<Rectangle>(box(578, 930, 200, 8), ink);
  print<Rectangle>(box(578, 922, 3, 24), ink);
  print<Rectangle>(box(677, 922, 3, 24), ink);
  print<Rectangle>(box(775, 922, 3, 24), ink);
  printCentred(678, 956, smallDot, "2 INCHES", ink);
  for (std::int64_t i = 0; i < 4; ++i) {
    const std::int64_t left = 562 + i * 60;
    print<Text>(at(left, 986), (i + 1) * hundredth, "AQ", ink);
  }
}

void TestChart::printFooter() {
  constexpr std::int64_t middle = pageWidth / 2;
  printCentred(middle, 1062, smallDot, "A SHIFT, A CROP, A TURNED OR MIRRORED PAGE", ink);
  printCentred(middle, 1080, smallDot, "AND A MIXED UP COLOUR SHOW AT A GLANCE", ink);
  printCentred(middle, 1112, 2 * hundredth, "THIS EDGE IS THE BOTTOM", ink);
}

}  // namespace virtualscanner
