#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "JobStream.h"
#include "TransferSource.h"

namespace virtualscanner {

// The stream of the running job, if any, divided into transfers of at most `transferBytes` (0: a single
// transfer). Owns the stream. One thread at a time.
class StreamSource final : public TransferSource {
 public:
  explicit StreamSource(std::uint32_t transferBytes) : transferBytes_(transferBytes) {}
  void begin(JobStream stream);
  void clear() { stream_.reset(); }
  // Whether there is a stream of which nothing has been read.
  bool isUntouched() const { return stream_ && !touched_; }

  bool hasTransfer() override { return stream_ && !stream_->atEnd(); }
  std::size_t read(std::uint8_t* buffer, std::size_t capacity) override;
  bool atTransferEnd() override { return transferLeft_ == 0 || stream_->atEnd(); }
  void endTransfer() override { transferLeft_ = transferBytes_ == 0 ? SIZE_MAX : transferBytes_; }

 private:
  std::uint32_t transferBytes_;
  std::optional<JobStream> stream_;
  std::size_t transferLeft_ = 0;
  bool touched_ = false;
};

}  // namespace virtualscanner
