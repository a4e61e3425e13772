#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include "TransferSource.h"

namespace virtualscanner {

// The replies that the host has not read yet, each one transfer or, split by a fault, two. Replies are added
// whole while the queue is not full; the bound keeps a host that never reads from filling the memory.
class ReplyQueue final : public TransferSource {
 public:
  void add(std::vector<std::uint8_t> transfer) { transfers_.push_back(std::move(transfer)); }
  void clear();
  // Hosts read each reply before their next call, so that one or two wait.
  bool isFull() const { return transfers_.size() >= mostTransfers; }

  bool hasTransfer() override { return !transfers_.empty(); }
  std::size_t read(std::uint8_t* buffer, std::size_t capacity) override;
  bool atTransferEnd() override { return sent_ == transfers_.front().size(); }
  void endTransfer() override;

 private:
  static constexpr std::size_t mostTransfers = 64;

  std::deque<std::vector<std::uint8_t>> transfers_;
  std::size_t sent_ = 0;  // bytes of the first transfer
};

}  // namespace virtualscanner
