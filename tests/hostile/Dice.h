#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace hostile {

// Pseudo-random numbers that depend on a seed alone, on every machine: the distributions of the standard
// library differ between implementations, and a seed has to repeat a device anywhere. A plain value.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state_(seed) {}

  // SplitMix64: passes statistical tests with any seed, consecutive ones included.
  std::uint64_t next() {
    std::uint64_t value = state_ += 0x9E3779B97F4A7C15U;
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9U;
    value = (value ^ value >> 27) * 0x94D049BB133111EBU;
    return value ^ value >> 31;
  }
  // From 0 to `count` - 1; 0 if the count is 0.
  std::size_t below(std::size_t count) { return count == 0 ? 0 : static_cast<std::size_t>(next() % count); }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  std::uint8_t byte() { return static_cast<std::uint8_t>(next() & 0xFF); }
  template <typename List>
  auto& oneOf(const List& list) {
    return *std::next(std::begin(list), static_cast<std::ptrdiff_t>(below(std::size(list))));
  }

 private:
  std::uint64_t state_;
};

}  // namespace hostile
