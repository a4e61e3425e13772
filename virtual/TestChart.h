#pragma once

#include <memory>
#include <vector>

#include "ChartShapes.h"
#include "Paper.h"

namespace virtualscanner {

// The page that lies on the glass unless the user provides one: designed so that a shift, a crop, a mirrored
// or rotated picture, a swapped channel or a lost row is visible at a glance. Laid out in inches, so that it
// is the same page at every resolution. Immutable, like every paper.
class TestChart final : public Paper {
 public:
  TestChart();

  Color colorAt(std::int64_t x, std::int64_t y) const override;
  void paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                std::uint8_t* rgb) const override;

 private:
  template <typename ShapeType, typename... Arguments>
  void print(Arguments&&... arguments) {
    shapes_.push_back(std::make_unique<ShapeType>(std::forward<Arguments>(arguments)...));
  }
  void printCentred(std::int64_t middle, std::int64_t top, std::int64_t dotSize, const std::string& text,
                    Color color);
  void printEdges();
  void printCornerMarks();
  void printTitle();
  void printColorPatches();
  void printGreyRamps();
  void printLinePatterns();
  void printPatternGroup(std::int64_t left, Pattern pattern, const std::string& label);
  void printSeaPiece();
  void printBoat();
  void printStar();
  void printFooter();

  std::vector<std::unique_ptr<const Shape>> shapes_;  // later ones cover earlier ones
};

}  // namespace virtualscanner
