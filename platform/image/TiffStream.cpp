#include "TiffStream.h"

#include <algorithm>
#include <utility>

namespace platform {
namespace {

constexpr std::size_t gatherSize = 65536;
constexpr std::uint8_t zeroBytes[TiffStream::zerosSize] = {};

}  // namespace

const std::uint8_t* TiffStream::zeros() {
  return zeroBytes;
}

TiffStream::TiffStream(Target target) : target_(std::move(target)) {
  gathered_.reserve(gatherSize);
}

TiffStream::TiffStream(TemporaryFile& file)
    : TiffStream([&file](std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
        return file.writeAt(offset, bytes, count);
      }) {}

std::size_t TiffStream::write(const std::uint8_t* bytes, std::size_t count) {
  const bool hole = bytes == zeroBytes;
  const bool large = count > gatherSize / 2;
  const bool apart = position_ != gatheredAt_ + gathered_.size();
  if (hole || large || apart || count > gatherSize - gathered_.size()) finish();
  if (large && !hole) {
    put(position_, bytes, count);
  } else if (!hole) {
    if (gathered_.empty()) gatheredAt_ = position_;
    gathered_.insert(gathered_.end(), bytes, bytes + count);
  }
  position_ += count;
  size_ = std::max(size_, position_);
  return failed_ ? 0 : count;
}

bool TiffStream::finish() {
  put(gatheredAt_, gathered_.data(), gathered_.size());
  gathered_.clear();
  return !failed_;
}

void TiffStream::put(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
  if (count > 0 && !failed_) failed_ = !target_(offset, bytes, count);
}

}  // namespace platform
