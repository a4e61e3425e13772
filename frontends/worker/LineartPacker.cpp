#include "LineartPacker.h"

namespace frontend {
namespace {

constexpr std::uint8_t topBit = 0x80;

}  // namespace

void LineartPacker::pack(const std::uint8_t* gray, std::size_t count, std::vector<std::uint8_t>& packed) {
  for (const std::uint8_t* end = gray + count; gray != end; ++gray) {
    if (*gray < threshold_) bits_ = static_cast<std::uint8_t>(bits_ | topBit >> column_ % 8);
    ++column_;
    const bool rowEnds = column_ == width_;
    if (column_ % 8 != 0 && !rowEnds) continue;
    packed.push_back(bits_);
    bits_ = 0;
    if (rowEnds) column_ = 0;
  }
}

}  // namespace frontend
