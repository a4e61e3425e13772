#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "TemporaryFile.h"

namespace platform {

// What the TIFF library sees as its output: a file, or something like one, that is only ever written, small
// pieces gathered into larger writes, large ones passed on as they are. Writing from zeros() leaves a hole
// instead, which reads as zero and takes no room on the disk. One thread at a time; a failed write is
// answered with 0 and makes finish() fail.
class TiffStream {
 public:
  // Puts all bytes at this offset, which may lie past the end; what is skipped reads as zero. False on
  // failure. Does not throw.
  using Target = std::function<bool(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count)>;

  static constexpr std::size_t zerosSize = 4096;
  // zerosSize bytes of zero.
  static const std::uint8_t* zeros();

  explicit TiffStream(Target target);
  // Borrows the file.
  explicit TiffStream(TemporaryFile& file);

  // Where the next write goes. No position is out of range before something is written there.
  void seek(std::uint64_t position) { position_ = position; }
  std::uint64_t position() const { return position_; }
  // The length so far, holes and what is still gathered included.
  std::uint64_t size() const { return size_; }

  // Answers count, or 0 on failure.
  std::size_t write(const std::uint8_t* bytes, std::size_t count);
  // Writes what is still gathered. False if this or any earlier write failed.
  bool finish();

 private:
  void put(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count);

  Target target_;
  std::uint64_t position_ = 0;
  std::uint64_t size_ = 0;
  std::vector<std::uint8_t> gathered_;
  std::uint64_t gatheredAt_ = 0;  // the offset of the first gathered byte
  bool failed_ = false;
};

}  // namespace platform
