#pragma once

#include <cstddef>
#include <cstdint>

namespace virtualscanner {

// What a device has to send on one endpoint, transfer by transfer.
class TransferSource {
 public:
  // Whether a transfer is under way or could begin now.
  virtual bool hasTransfer() = 0;
  // Reads from the transfer under way, up to its end.
  virtual std::size_t read(std::uint8_t* buffer, std::size_t capacity) = 0;
  virtual bool atTransferEnd() = 0;
  virtual void endTransfer() = 0;

 protected:
  ~TransferSource() = default;
};

}  // namespace virtualscanner
