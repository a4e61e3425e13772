#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Cancellation.h"

namespace frontend {

// Where the bytes of a picture go: an open descriptor, which stays the caller's. The first failure, or a
// cancel while it is used, ends it: everything after fails at once. Throws nothing, so that C libraries may
// call it.
class ByteSink {
 public:
  explicit ByteSink(int descriptor, const Cancellation* cancellation = nullptr)
      : descriptor_(descriptor), cancellation_(cancellation) {}

  // Writes all bytes at the present position.
  bool write(const void* bytes, std::size_t count) noexcept;
  // For descriptors of files. The position counts from the start.
  bool seek(std::uint64_t position) noexcept;
  // For descriptors that were opened for reading too: up to `count` bytes from the present position.
  std::size_t read(void* bytes, std::size_t count) noexcept;
  // Cuts the file off.
  bool truncate(std::uint64_t size) noexcept;
  // While it holds, what is written is dropped as if it had been written.
  void holdBack(bool held) noexcept { held_ = held; }
  // The position, or the size so far; 0 where the descriptor has none.
  std::uint64_t position() const noexcept;
  std::uint64_t size() const noexcept;
  // Ends the sink for a reason of the writer's own.
  void fail(const char* reason) noexcept;

  bool good() noexcept;
  bool cancelled() const noexcept { return cancellation_ != nullptr && cancellation_->requested(); }
  // Why it ended, in words; empty where nothing but a cancel did.
  std::string failure() const;

 private:
  int descriptor_;
  const Cancellation* cancellation_;
  bool held_ = false;
  int error_ = 0;  // an errno
  char reason_[200] = {};
};

}  // namespace frontend
