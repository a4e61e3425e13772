#include "ByteBlock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace platform {
namespace {

// No object may be larger: differences of pointers into it must fit ptrdiff_t.
constexpr std::size_t maxBlock = std::numeric_limits<std::ptrdiff_t>::max();

std::atomic<std::size_t> totalReserved{0};
std::atomic<std::uint64_t> totalRelocated{0};

constexpr std::size_t hugePage = ByteBlock::hugePage;

std::size_t wholeHugePages(std::size_t size) {
  return (size + hugePage - 1) / hugePage * hugePage;
}

std::size_t wholePages(std::size_t size) {
  static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return (size + page - 1) / page * page;
}

// A mapping of whole huge pages, aligned to them: otherwise its ends would be small pages, and moving it
// would split all others.
void* newMapping(std::size_t size) {
  void* const whole =
      mmap(nullptr, size + hugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (whole == MAP_FAILED) return MAP_FAILED;
  const std::size_t before = (hugePage - reinterpret_cast<std::uintptr_t>(whole) % hugePage) % hugePage;
  auto* const begin = static_cast<std::uint8_t*>(whole) + before;
  if (before > 0) munmap(whole, before);
  munmap(begin + size, hugePage - before);
  // Only advice: a kernel that does not support it fills the mapping page by page.
  madvise(begin, size, MADV_HUGEPAGE);
  return begin;
}

// The same bytes with more room. MAP_FAILED, with nothing changed, if there is none.
void* grownMapping(void* mapping, std::size_t size, std::size_t newSize) {
  void* const inPlace = mremap(mapping, size, newSize, 0);
  if (inPlace != MAP_FAILED) return inPlace;
  void* const place = newMapping(newSize);
  if (place == MAP_FAILED) return MAP_FAILED;
  void* const moved = mremap(mapping, size, newSize, MREMAP_MAYMOVE | MREMAP_FIXED, place);
  if (moved == MAP_FAILED) munmap(place, newSize);
  return moved;
}

}  // namespace

ByteBlock::~ByteBlock() {
  totalReserved.fetch_sub(capacity_, std::memory_order_relaxed);
  if (mapped_) {
    munmap(data_, capacity_);
  } else {
    std::free(data_);
  }
}

void ByteBlock::grow(std::size_t needed, std::size_t used) {
  if (needed <= capacity_) return;
  if (needed > maxBlock) throw std::bad_alloc();
  const std::size_t wished = capacity_ > maxBlock / 2 ? needed : std::max(needed, 2 * capacity_);
  if (!resize(wished, used) && !resize(needed, used)) throw std::bad_alloc();
}

void ByteBlock::trim(std::size_t used) {
  if (used < capacity_ && used > 0) resize(used, used);
}

bool ByteBlock::resize(std::size_t capacity, std::size_t used) {
  const std::size_t before = capacity_;
  const bool done =
      mapped_ || capacity >= mappedFrom ? resizeMapping(capacity, used) : resizeOnHeap(capacity, used);
  if (done) totalReserved.fetch_add(capacity_ - before, std::memory_order_relaxed);
  return done;
}

bool ByteBlock::resizeOnHeap(std::size_t capacity, std::size_t used) {
  void* moved = std::realloc(data_, capacity);
  if (moved == nullptr) return false;
  totalRelocated.fetch_add(used, std::memory_order_relaxed);
  data_ = static_cast<std::uint8_t*>(moved);
  capacity_ = capacity;
  return true;
}

bool ByteBlock::resizeMapping(std::size_t capacity, std::size_t used) {
  if (capacity > maxBlock - 2 * hugePage) return false;  // rounding up must not wrap
  const bool grows = capacity > capacity_;
  const std::size_t size = grows ? wholeHugePages(capacity) : wholePages(capacity);
  void* mapping = MAP_FAILED;
  if (!mapped_) {
    mapping = newMapping(size);
  } else if (grows) {
    mapping = grownMapping(data_, capacity_, size);
  } else {
    mapping = mremap(data_, capacity_, size, 0);
  }
  if (mapping == MAP_FAILED) return false;
  if (!mapped_) {
    if (used > 0) std::memcpy(mapping, data_, used);
    totalRelocated.fetch_add(used, std::memory_order_relaxed);
    std::free(data_);
  }
  data_ = static_cast<std::uint8_t*>(mapping);
  capacity_ = size;
  mapped_ = true;
  return true;
}

ByteBlock::Totals ByteBlock::totals() {
  return {totalReserved.load(std::memory_order_relaxed), totalRelocated.load(std::memory_order_relaxed)};
}

}  // namespace platform
