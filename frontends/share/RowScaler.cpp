#include "RowScaler.h"

#include <algorithm>
#include <utility>

namespace frontend::share {
namespace {

constexpr std::uint32_t one = 256;  // the full weight
constexpr std::uint32_t half = one * one / 2;

constexpr std::uint8_t white(std::uint32_t bitsPerChannel) {
  return bitsPerChannel == 1 ? 0 : 255;
}

// Of the picture: those that the delivered ones are scaled to, rounded.
std::uint32_t scaledRows(const PictureLayout& delivered, const PictureLayout& picture) {
  const std::uint64_t rows = std::uint64_t{delivered.height} * picture.resolution;
  const std::uint64_t rounded = (rows + delivered.resolution / 2) / delivered.resolution;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(rounded, picture.height));
}

}  // namespace

// The center of pixel i of the picture is at (i + 1/2) * from / to of the scanner's pixels, and that of pixel
// k of the scanner at k + 1/2. Doubled, so that all of it is integers.
RowScaler::Place RowScaler::placeOf(std::uint32_t index, std::uint32_t from, std::uint32_t to,
                                    std::uint32_t count) {
  const std::uint64_t center = (2 * std::uint64_t{index} + 1) * from;
  const std::uint64_t units = 2 * std::uint64_t{to};  // of a pixel of the scanner
  if (center <= to) return {0, 0, 0};                 // before the center of the first pixel
  const std::uint64_t distance = center - to;
  const std::uint32_t first =
      static_cast<std::uint32_t>(std::min<std::uint64_t>(distance / units, count - 1));
  const std::uint32_t second = std::min(first + 1, count - 1);
  return {first, second, static_cast<std::uint32_t>((distance % units * one + to) / units)};
}

RowScaler::RowScaler(const PictureLayout& delivered, const PictureLayout& picture, WriteRow writeRow)
    : delivered_(delivered),
      picture_(picture),
      writeRow_(std::move(writeRow)),
      scaledRows_(scaledRows(delivered, picture)),
      pictureRow_(picture.rowBytes()) {
  if (picture.resolution == delivered.resolution) return;
  for (auto& row : rows_) row.resize(delivered.rowBytes());
  blended_.resize(delivered.rowBytes());
  for (std::uint32_t column = 0; column < picture.width; ++column)
    columns_.push_back(placeOf(column, delivered.resolution, picture.resolution, delivered.width));
}

void RowScaler::add(const std::uint8_t* row) {
  if (taken_ == delivered_.height) return;
  const std::uint32_t index = taken_++;
  if (columns_.empty()) {
    writeRow_(row);
    ++written_;
  } else {
    std::copy_n(row, delivered_.rowBytes(), rows_[index % 2].begin());
    for (; written_ < scaledRows_; ++written_) {
      const Place place = placeOf(written_, delivered_.resolution, picture_.resolution, delivered_.height);
      if (place.second > index) return;
      scaleRow(place);
      writeRow_(pictureRow_.data());
    }
  }
  if (taken_ < delivered_.height) return;
  std::fill(pictureRow_.begin(), pictureRow_.end(), white(picture_.bitsPerChannel));
  for (; written_ < picture_.height; ++written_) writeRow_(pictureRow_.data());
}

// Vertically first: a loop over neighbours, which compilers vectorise.
void RowScaler::blendRows(const Place& place) {
  const std::uint8_t* upper = rows_[place.first % 2].data();
  const std::uint8_t* lower = rows_[place.second % 2].data();
  const std::uint32_t weight = place.weight;
  for (std::size_t i = 0; i < blended_.size(); ++i)
    blended_[i] = static_cast<std::uint16_t>(upper[i] * (one - weight) + lower[i] * weight);
}

void RowScaler::scaleRow(const Place& place) {
  blendRows(place);
  const std::size_t channels = picture_.channels;
  std::uint8_t* target = pictureRow_.data();
  for (const Place& column : columns_) {
    const std::uint16_t* left = &blended_[column.first * channels];
    const std::uint16_t* right = &blended_[column.second * channels];
    for (std::size_t channel = 0; channel < channels; ++channel) {
      const std::uint32_t sum = left[channel] * (one - column.weight) + right[channel] * column.weight;
      *target++ = static_cast<std::uint8_t>((sum + half) / (one * one));
    }
  }
}

}  // namespace frontend::share
