#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include "TransferSource.h"

namespace virtualscanner {

// Replies, each a transfer or two.
class ReplyQueue final : public TransferSource {
 public:
  void add(std::vector<std::uint8_t> transfer) { transfers_.push_back(std::move(transfer)); }
  void clear();

  bool hasTransfer() override { return !transfers_.empty(); }
  std::size_t read(std::uint8_t* buffer, std::size_t capacity) override;
  bool atTransferEnd() override { return sent_ == transfers_.front().size(); }
  void endTransfer() override;

 private:
  std::deque<std::vector<std::uint8_t>> transfers_;
  std::size_t sent_ = 0;  // bytes of the first one
};

}  // namespace virtualscanner
