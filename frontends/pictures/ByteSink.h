#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Cancellation.h"

namespace frontend {

// Where the bytes of a picture go: a file, a pipe or a socket. Borrows the descriptor and the flag, which
// outlive it. Writing blocks, also where the descriptor does not; a cancel is noticed between pieces of a
// megabyte, and during one where the signal that requests it interrupts the system call. The first error or
// cancel ends the sink: everything after it fails at once, until recover(). Throws nothing but from
// failure(), so that C libraries may call it. One thread.
class ByteSink {
 public:
  explicit ByteSink(int descriptor, const Cancellation* cancellation = nullptr)
      : descriptor_(descriptor), cancellation_(cancellation) {}

  // Writes all bytes at the current position. Returns good().
  bool write(const void* bytes, std::size_t count) noexcept;
  // Moves to a position, counted from the start, of a descriptor that has one. Returns good().
  bool seek(std::uint64_t position) noexcept;
  // Reads up to `count` bytes from the current position of a descriptor that was opened for reading too.
  // Returns the number of bytes read, 0 at the end and for an error, which ends the sink.
  std::size_t read(void* bytes, std::size_t count) noexcept;
  // Cuts the file off at `size`. Returns good().
  bool truncate(std::uint64_t size) noexcept;
  // Waits until all bytes are on the disk of a descriptor that has one. Returns good().
  bool sync() noexcept;
  // While `saving`, only a request that insists is a cancel: what was scanned is worth the time it takes.
  void setSaving(bool saving) noexcept { saving_ = saving; }
  // Forgets the error that ended the sink. What was written before it may be incomplete.
  void recover() noexcept;
  // The current position, and the size of the file; 0 where the descriptor has none.
  std::uint64_t position() const noexcept;
  std::uint64_t size() const noexcept;
  // Ends the sink for a reason of the writer's own, unless it has ended already. For libraries that report a
  // failed allocation as any other error: if errno is ENOMEM, the sink is outOfMemory() instead.
  void fail(const char* reason) noexcept;
  // The same for an error of another process that has written to the file.
  void fail(int error) noexcept;

  bool good() const noexcept;
  bool outOfMemory() const noexcept { return error_ == ENOMEM; }
  // The errno that ended the sink; 0 where it did not, or where a cancel or a reason of the writer's own did.
  int error() const noexcept { return error_; }
  bool cancelled() const noexcept {
    return cancellation_ != nullptr && (saving_ ? cancellation_->insisted() : cancellation_->requested());
  }
  // Why the sink ended, as a clause without a full stop; empty where it did not, or where a cancel ended it.
  std::string failure() const;

 private:
  void awaitRoom() const noexcept;

  int descriptor_;
  const Cancellation* cancellation_;
  bool saving_ = false;
  int error_ = 0;          // an errno
  char reason_[200] = {};  // no std::string: fail() must not throw through a C library
};

}  // namespace frontend
