#pragma once

#include <cstdint>

namespace frontend {

// Counts the reads of one job stream, so that a stream that no scanner in order sends comes to an end: the
// library sets no bound to its number of bytes, of reads that bring none, or of reads that fail. Does no
// I/O. One thread.
class StreamBounds {
 public:
  // A read brought `size` bytes. False once the stream has no sensible end: too many bytes, or too many reads
  // in a row without any.
  bool noteRead(std::uint32_t size);
  // A read failed otherwise than by a time-out. False from the fourth one on without a byte between them: one
  // more than a stack that recovers from a stall ever needs.
  bool noteFailure() { return ++failuresInARow_ < failuresLimit; }

  static constexpr std::uint32_t failuresLimit = 4;

 private:
  std::uint64_t bytes_ = 0;
  std::uint32_t emptyInARow_ = 0;
  std::uint32_t failuresInARow_ = 0;
};

}  // namespace frontend
