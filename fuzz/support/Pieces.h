#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string_view>

using Bytes = std::span<const std::uint8_t>;

inline std::string_view textOf(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Passes `bytes` to `feed` in order, cut into pieces of random lengths. The lengths follow from the bytes
// themselves, so that a finding repeats and an input stays a plain file of its format.
template <typename Feed>
void inPieces(Bytes bytes, Feed feed) {
  std::uint32_t seed = 1;
  for (const std::uint8_t byte : bytes) seed = seed * 31 + byte;
  std::minstd_rand random(seed);
  const std::size_t longest = 1 + random() % 64;
  while (!bytes.empty()) {
    const std::size_t length = std::min<std::size_t>(bytes.size(), 1 + random() % longest);
    feed(bytes.first(length));
    bytes = bytes.subspan(length);
  }
}
