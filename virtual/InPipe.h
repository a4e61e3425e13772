#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "ScannerOptions.h"
#include "Transfer.h"
#include "TransferSource.h"

namespace virtualscanner {

// One bulk-in endpoint: cuts transfers into packets as USB 2.0, 5.8.3 has it, so far as a host can see it: a
// transfer ends with a short packet, or a zero-length one, or not visibly.
class InPipe {
 public:
  InPipe(TransferSource& source, ZeroLengthPackets zeroLengthPackets)
      : source_(source), zeroLengthPackets_(zeroLengthPackets) {}

  // Done, silent or overrun.
  Transfer read(std::uint8_t* buffer, std::size_t capacity);
  // To be called when the source is cleared: forgets the packets of the transfer under way.
  void clear();

 private:
  std::optional<Transfer> finishTransfer(std::size_t moved, std::size_t capacity);
  void dropRestOfPacket();

  TransferSource& source_;
  ZeroLengthPackets zeroLengthPackets_;
  std::size_t sent_ = 0;  // bytes of the transfer under way
  bool zeroLengthPacketDue_ = false;
};

}  // namespace virtualscanner
