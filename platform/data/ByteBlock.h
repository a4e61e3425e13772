#pragma once

#include <cstddef>
#include <cstdint>

namespace platform {

// A block of memory that grows at its end and needs no second copy of itself while it does. A large block is
// a mapping of its own: growing moves page table entries instead of bytes, and huge pages that were never
// written take no memory. The allocator alone is not enough: once it has seen large blocks freed, it keeps
// such blocks on the heap, where growing copies them. Owns its memory. One thread at a time.
class ByteBlock {
 public:
  // From this size on a block is a mapping of its own.
  static constexpr std::size_t mappedFrom = std::size_t{256} << 10;
  // Mappings consist of these if the system has them: a fault for every small page would cost more than all
  // processing of its bytes. At most one huge page is room not yet used.
  static constexpr std::size_t hugePage = std::size_t{2} << 20;

  ByteBlock() = default;
  ByteBlock(const ByteBlock&) = delete;
  ByteBlock& operator=(const ByteBlock&) = delete;
  ~ByteBlock();

  std::uint8_t* data() const { return data_; }
  std::size_t capacity() const { return capacity_; }

  // Makes room for at least `needed` bytes, keeping the first `used` ones; the block may move. A block that
  // grows again at least doubles if it can, so that the cost of all growth is linear. std::bad_alloc, with
  // nothing changed, if not even `needed` bytes are available.
  void grow(std::size_t needed, std::size_t used);

  // Releases all room past the first `used` bytes, rounded up to a page for a mapping. The block may move. If
  // the system refuses, it is unchanged.
  void trim(std::size_t used);

  // The memory and the copying of all blocks of the process together, for tests and benchmarks. Any thread.
  struct Totals {
    std::size_t reserved;     // bytes of room at this moment
    std::uint64_t relocated;  // bytes that growth and trimming have copied so far, counted as if always moved
  };
  static Totals totals();

 private:
  bool resize(std::size_t capacity, std::size_t used);
  bool resizeOnHeap(std::size_t capacity, std::size_t used);
  bool resizeMapping(std::size_t capacity, std::size_t used);

  std::uint8_t* data_ = nullptr;
  std::size_t capacity_ = 0;
  bool mapped_ = false;
};

}  // namespace platform
