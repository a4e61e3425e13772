#include "Rotation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace frontend {
namespace {

// A tile of 64 x 64 color pixels, read and written, fits the smallest first-level cache.
constexpr std::uint32_t tile = 64;

std::uint8_t reversedBits(std::uint8_t byte) {
  byte = static_cast<std::uint8_t>(byte >> 4 | byte << 4);
  byte = static_cast<std::uint8_t>((byte & 0xCC) >> 2 | (byte & 0x33) << 2);
  return static_cast<std::uint8_t>((byte & 0xAA) >> 1 | (byte & 0x55) << 1);
}

// The last row first, each from its last pixel to its first.
class HalfTurn final : public RotatedRows {
 public:
  HalfTurn(const std::vector<std::uint8_t>& picture, const PictureLayout& layout)
      : source_(picture.data() + picture.size()), layout_(layout), row_(layout.rowBytes() + 1) {}

  const std::uint8_t* next() override {
    source_ -= layout_.rowBytes();
    if (layout_.bitsPerChannel == 1) {
      reverseBits();
    } else {
      reverseBytes();
    }
    return row_.data();
  }

 private:
  void reverseBytes() {
    const std::size_t channels = layout_.channels;
    for (std::size_t x = 0; x < layout_.width; ++x) {
      for (std::size_t channel = 0; channel < channels; ++channel)
        row_[x * channels + channel] = source_[(layout_.width - 1 - x) * channels + channel];
    }
  }
  // Reversed as a whole, the row begins with its padding bits, which move to its end again.
  void reverseBits() {
    const std::size_t size = layout_.rowBytes();
    const auto padding = static_cast<unsigned>(size * 8 - layout_.width);
    for (std::size_t i = 0; i < size; ++i) row_[i] = reversedBits(source_[size - 1 - i]);
    for (std::size_t i = 0; i < size; ++i)
      row_[i] = static_cast<std::uint8_t>((row_[i] << 8 | row_[i + 1]) << padding >> 8);
  }

  const std::uint8_t* source_;  // the row that was read last
  PictureLayout layout_;
  std::vector<std::uint8_t> row_;  // one more byte, always 0, is read where bits are shifted
};

// A quarter turn is a transposition that reads the rows from below, three quarters one whose rows are read
// from below. Columns of the source become rows a band of `tile` at a time.
class QuarterTurn final : public RotatedRows {
 public:
  QuarterTurn(const std::vector<std::uint8_t>& picture, const PictureLayout& layout, Rotation rotation)
      : picture_(picture),
        layout_(layout),
        fromBelow_(rotation == Rotation::quarter),
        rowBytes_(rotated(layout, rotation).rowBytes()),
        band_(rowBytes_ * tile) {}

  const std::uint8_t* next() override {
    const std::uint32_t column = fromBelow_ ? rows_ : layout_.width - 1 - rows_;
    ++rows_;
    if (const std::uint32_t begin = column / tile * tile; begin != bandBegin_) transposeBand(begin);
    return &band_[(column - bandBegin_) * rowBytes_];
  }

 private:
  // The row that becomes this column.
  const std::uint8_t* source(std::uint32_t column) const {
    return picture_.data() + (fromBelow_ ? layout_.height - 1 - column : column) * layout_.rowBytes();
  }

  void transposeBand(std::uint32_t begin) {
    bandBegin_ = begin;
    const std::uint32_t columns = std::min(tile, layout_.width - begin);
    if (layout_.bitsPerChannel == 1) {
      transposeBits(columns);
    } else if (layout_.channels == 1) {
      transposePixels<1>(columns);
    } else {
      transposePixels<3>(columns);
    }
  }

  template <std::size_t size>
  void transposePixels(std::uint32_t columns) {
    for (std::uint32_t x = 0; x < layout_.height; x += tile) {
      const std::uint32_t end = std::min(x + tile, layout_.height);
      for (std::uint32_t column = 0; column < columns; ++column) {
        std::uint8_t* to = &band_[column * rowBytes_ + x * size];
        for (std::uint32_t i = x; i < end; ++i, to += size)
          std::memcpy(to, source(i) + (bandBegin_ + column) * size, size);
      }
    }
  }

  // Eight pixels of eight rows are eight bytes, which become one byte of eight rows.
  void transposeBits(std::uint32_t columns) {
    for (std::uint32_t x = 0; x < layout_.height; x += 8) {
      for (std::uint32_t column = 0; column < columns; column += 8) {
        const std::array<std::uint8_t, 8> block = transposed(blockAt(x, (bandBegin_ + column) / 8));
        for (std::uint32_t i = 0; i < 8; ++i) band_[(column + i) * rowBytes_ + x / 8] = block[i];
      }
    }
  }
  // The byte at this offset of the rows that become column x and the next seven; 0 beyond the last one.
  std::array<std::uint8_t, 8> blockAt(std::uint32_t x, std::size_t offset) const {
    std::array<std::uint8_t, 8> block{};
    for (std::uint32_t i = 0; i < 8 && x + i < layout_.height; ++i) block[i] = source(x + i)[offset];
    return block;
  }
  // The transposed matrix of 8 x 8 bits, by swapping ever smaller quarters.
  static std::array<std::uint8_t, 8> transposed(const std::array<std::uint8_t, 8>& block) {
    std::uint64_t bits = 0;
    for (const std::uint8_t byte : block) bits = bits << 8 | byte;
    const auto swap = [&bits](unsigned distance, std::uint64_t mask) {
      const std::uint64_t difference = (bits ^ bits >> distance) & mask;
      bits ^= difference ^ difference << distance;
    };
    swap(7, 0x00AA00AA00AA00AA);
    swap(14, 0x0000CCCC0000CCCC);
    swap(28, 0x00000000F0F0F0F0);
    std::array<std::uint8_t, 8> result{};
    for (unsigned i = 0; i < 8; ++i) result[i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
    return result;
  }

  const std::vector<std::uint8_t>& picture_;
  PictureLayout layout_;
  bool fromBelow_;
  std::size_t rowBytes_;            // of the turned picture
  std::vector<std::uint8_t> band_;  // rows of the turned picture
  std::uint32_t bandBegin_ = UINT32_MAX;
  std::uint32_t rows_ = 0;  // that were read
};

}  // namespace

PictureLayout rotated(const PictureLayout& layout, Rotation rotation) {
  PictureLayout result = layout;
  if (rotation == Rotation::quarter || rotation == Rotation::threeQuarters)
    std::swap(result.width, result.height);
  return result;
}

std::unique_ptr<RotatedRows> makeRotatedRows(const std::vector<std::uint8_t>& picture,
                                             const PictureLayout& layout, Rotation rotation) {
  if (rotation == Rotation::half) return std::make_unique<HalfTurn>(picture, layout);
  return std::make_unique<QuarterTurn>(picture, layout, rotation);
}

}  // namespace frontend
