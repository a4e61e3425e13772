#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "TemporaryFile.h"

namespace platform {

// The output of the TIFF library: a file, or something like one, that is only written. Gathers small pieces
// into larger writes and passes large ones on as they are. Writing from zeros() leaves a hole instead, which
// reads as zero and takes no room on the disk. One thread at a time; only the constructors throw
// (std::bad_alloc). A failed write returns 0 and makes finish() fail.
class TiffStream {
 public:
  // Writes all bytes at this offset, which may be past the end; what is skipped reads as zero. False on
  // failure. Must not throw.
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
  // The length so far, including holes and what is still gathered.
  std::uint64_t size() const { return size_; }

  // Returns count, or 0 on failure.
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
