#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "Pieces.h"

// Takes big-endian numbers off the front of an input, for readers whose input is a record instead of a byte
// stream. Missing input reads as zero.
class Fields {
 public:
  explicit Fields(Bytes bytes) : rest_(bytes) {}

  std::uint32_t number(std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < size; ++index)
      value = value << 8 | (index < rest_.size() ? rest_[index] : 0u);
    rest_ = rest_.subspan(std::min(size, rest_.size()));
    return value;
  }
  std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }
  // Little-endian, as in USB.
  std::uint16_t word() {
    const std::uint32_t low = number(1);
    return static_cast<std::uint16_t>(number(1) << 8 | low);
  }
  Bytes rest() const { return rest_; }

 private:
  Bytes rest_;
};
