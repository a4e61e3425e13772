#pragma once

#include <cstddef>
#include <cstdint>

namespace virtualscanner {

// What a device has to send on one endpoint, transfer by transfer. InPipe calls it, to divide the transfers
// into packets. Nothing here blocks; implementations throw at most std::bad_alloc.
class TransferSource {
 public:
  // Whether a transfer is in progress or could begin now. The other functions are called only while it is.
  virtual bool hasTransfer() = 0;
  // Copies up to `capacity` bytes of the transfer in progress, beginning one if there is none. Returns the
  // number of bytes; fewer than `capacity` only at the end of the transfer.
  virtual std::size_t read(std::uint8_t* buffer, std::size_t capacity) = 0;
  // Whether all bytes of the transfer in progress have been read.
  virtual bool atTransferEnd() = 0;
  // Leaves the transfer that was read to its end; the next one may begin.
  virtual void endTransfer() = 0;

 protected:
  ~TransferSource() = default;
};

}  // namespace virtualscanner
