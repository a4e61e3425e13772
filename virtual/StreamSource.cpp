#include "StreamSource.h"

#include <algorithm>
#include <utility>

namespace virtualscanner {

void StreamSource::begin(JobStream stream) {
  stream_.emplace(std::move(stream));
  touched_ = false;
  endTransfer();
}

std::size_t StreamSource::read(std::uint8_t* buffer, std::size_t capacity) {
  const std::size_t moved = stream_->read(buffer, std::min(capacity, transferLeft_));
  touched_ = true;
  if (transferBytes_ != 0) transferLeft_ -= moved;
  return moved;
}

}  // namespace virtualscanner
