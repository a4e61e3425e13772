#include "ReplyQueue.h"

#include <algorithm>
#include <cstring>

namespace virtualscanner {

void ReplyQueue::clear() {
  transfers_.clear();
  sent_ = 0;
}

std::size_t ReplyQueue::read(std::uint8_t* buffer, std::size_t capacity) {
  const std::vector<std::uint8_t>& transfer = transfers_.front();
  const std::size_t moved = std::min(capacity, transfer.size() - sent_);
  if (moved > 0) std::memcpy(buffer, transfer.data() + sent_, moved);
  sent_ += moved;
  return moved;
}

void ReplyQueue::endTransfer() {
  transfers_.pop_front();
  sent_ = 0;
}

}  // namespace virtualscanner
