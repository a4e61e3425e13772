#pragma once

#include <cstddef>
#include <cstdint>

namespace frontend {

// Counts what one job receives, so that a stream that no working scanner would send is ended: the library
// sets no bound to its bytes, its packets, each of which costs memory even without a payload, its messages,
// each of which is parsed, its reads that return nothing, or its reads that fail. The bounds grow with the
// picture and leave room for packets that fit a single USB transaction of 64 bytes. Does no I/O. One thread.
class StreamBounds {
 public:
  // `rasterBytes` is the size of the picture that was requested.
  explicit StreamBounds(std::uint64_t rasterBytes);

  // A read of the job stream brought `size` bytes. False from the first byte beyond the bound, and from the
  // thousand and first read in a row that brings none.
  bool noteRead(std::uint32_t size);
  // A packet of any type has begun. False beyond the bound.
  bool notePacket() { return ++packets_ <= packetsLimit_; }
  // A message of `size` bytes arrived. False beyond the bound on their number or on all their bytes.
  bool noteMessage(std::size_t size);
  // A read failed otherwise than by a time-out. False from the fourth one on without a byte between them: one
  // more than a stack that recovers from a stall ever needs.
  bool noteFailure() { return ++failuresInARow_ < failuresLimit; }

  static constexpr std::uint32_t failuresLimit = 4;

 private:
  std::uint64_t packetsLimit_;
  std::uint64_t bytesLimit_;
  std::uint64_t packets_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t messages_ = 0;
  std::uint64_t messageBytes_ = 0;
  std::uint32_t emptyInARow_ = 0;
  std::uint32_t failuresInARow_ = 0;
};

}  // namespace frontend
