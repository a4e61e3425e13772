#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "ScannerOptions.h"
#include "Transfer.h"
#include "TransferSource.h"

namespace virtualscanner {

// One bulk-in endpoint: divides transfers into packets as USB 2.0, 5.8.3 specifies, as far as a host can
// observe it. A transfer ends with a short packet, with a zero-length packet, or without a visible end.
// Independent of what the bytes mean. Never blocks. The source belongs to the caller and outlives the pipe.
// One thread at a time.
class InPipe {
 public:
  InPipe(TransferSource& source, ZeroLengthPackets zeroLengthPackets)
      : source_(source), zeroLengthPackets_(zeroLengthPackets) {}

  // Reads into a buffer of `capacity` bytes. The status is done, silent (nothing to send) or overrun (a
  // packet did not fit; its excess is lost).
  Transfer read(std::uint8_t* buffer, std::size_t capacity);
  // To be called when the source is cleared: forgets the packets of the transfer in progress.
  void clear();

 private:
  std::optional<Transfer> finishTransfer(std::size_t moved, std::size_t capacity);
  void dropRestOfPacket();

  TransferSource& source_;
  ZeroLengthPackets zeroLengthPackets_;
  std::size_t sent_ = 0;  // bytes of the transfer in progress
  bool zeroLengthPacketDue_ = false;
};

}  // namespace virtualscanner
