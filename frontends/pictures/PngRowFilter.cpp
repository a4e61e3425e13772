#include "PngRowFilter.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <utility>

namespace frontend {
namespace {

// Of a piece whose sums fit 16 bits, so that the vectors stay narrow.
constexpr std::size_t pieceSize = 256;
static_assert(pieceSize * 128 <= UINT16_MAX);

// The magnitude of a difference as a signed byte.
constexpr std::uint8_t magnitude(int difference) {
  const auto byte = static_cast<std::uint8_t>(difference);
  const auto negated = static_cast<std::uint8_t>(-difference);
  return std::min(byte, negated);
}

std::int16_t distance(std::int16_t a, std::int16_t b) {
  return static_cast<std::int16_t>(a > b ? a - b : b - a);
}

// What the filters predict for a byte from those to its left, above it, and above to the left (PNG, 9.4).
constexpr auto none = [](int, int, int) { return 0; };
constexpr auto sub = [](int left, int, int) { return left; };
constexpr auto up = [](int, int above, int) { return above; };
constexpr auto average = [](int left, int above, int) { return (left + above) >> 1; };
constexpr auto paeth = [](std::int16_t left, std::int16_t above, std::int16_t corner) {
  const std::int16_t toLeft = distance(above, corner);
  const std::int16_t toAbove = distance(left, corner);
  const std::int16_t toCorner =
      distance(static_cast<std::int16_t>(left + above), static_cast<std::int16_t>(2 * corner));
  const std::int16_t other = toAbove <= toCorner ? above : corner;
  return toLeft <= toAbove && toLeft <= toCorner ? left : other;
};

template <std::size_t pixel, typename Predict>
std::uint64_t cost(const std::uint8_t* row, const std::uint8_t* above, std::size_t size, Predict predict) {
  std::uint64_t total = 0;
  for (std::size_t i = 0; i < std::min(pixel, size); ++i)
    total += magnitude(row[i] - predict(0, above[i], 0));
  for (std::size_t begin = pixel; begin < size; begin += pieceSize) {
    const std::size_t end = std::min(begin + pieceSize, size);
    std::uint16_t piece = 0;
    for (std::size_t i = begin; i < end; ++i) {
      const std::uint8_t* before = row - pixel;
      const std::uint8_t* aboveBefore = above - pixel;
      piece = static_cast<std::uint16_t>(piece +
                                         magnitude(row[i] - predict(before[i], above[i], aboveBefore[i])));
    }
    total += piece;
  }
  return total;
}

template <std::size_t pixel>
int best(const std::uint8_t* row, const std::uint8_t* above, std::size_t size) {
  const std::array<std::pair<std::uint64_t, int>, 5> costs = {{
      {cost<pixel>(row, above, size, none), PNG_FILTER_NONE},
      {cost<pixel>(row, above, size, sub), PNG_FILTER_SUB},
      {cost<pixel>(row, above, size, up), PNG_FILTER_UP},
      {cost<pixel>(row, above, size, average), PNG_FILTER_AVG},
      {cost<pixel>(row, above, size, paeth), PNG_FILTER_PAETH},
  }};
  // The first of equals.
  return std::min_element(costs.begin(), costs.end(), [](auto& a, auto& b) { return a.first < b.first; })
      ->second;
}

}  // namespace

int bestPngFilter(const std::uint8_t* row, const std::uint8_t* above, std::size_t size, std::size_t pixel) {
  return pixel == 3 ? best<3>(row, above, size) : best<1>(row, above, size);
}

}  // namespace frontend
