#include "InPipe.h"

#include <array>

#include "Descriptors.h"

namespace virtualscanner {

Transfer InPipe::read(std::uint8_t* buffer, std::size_t capacity) {
  if (zeroLengthPacketDue_) {
    zeroLengthPacketDue_ = false;
    return {TransferStatus::done, 0, true};
  }
  std::size_t moved = 0;
  while (source_.hasTransfer()) {
    const std::size_t count = source_.read(buffer + moved, capacity - moved);
    moved += count;
    sent_ += count;
    if (source_.atTransferEnd()) {
      if (const auto transfer = finishTransfer(moved, capacity)) return *transfer;
    } else if (sent_ % bulkPacketSize != 0) {
      dropRestOfPacket();
      return {TransferStatus::overrun, moved};
    } else {
      return {TransferStatus::done, moved};
    }
  }
  return {moved > 0 ? TransferStatus::done : TransferStatus::silent, moved};
}

void InPipe::clear() {
  sent_ = 0;
  zeroLengthPacketDue_ = false;
}

// Nothing if the host sees no end and has room left: its read goes on with the next transfer.
std::optional<Transfer> InPipe::finishTransfer(std::size_t moved, std::size_t capacity) {
  const bool endsShort = sent_ % bulkPacketSize != 0;
  sent_ = 0;
  source_.endTransfer();
  if (endsShort) return Transfer{TransferStatus::done, moved, true};
  const bool hasRoom = moved < capacity;
  if (zeroLengthPackets_ == ZeroLengthPackets::never) {
    return hasRoom ? std::nullopt : std::optional(Transfer{TransferStatus::done, moved});
  }
  zeroLengthPacketDue_ = !hasRoom;
  return Transfer{TransferStatus::done, moved, hasRoom};
}

void InPipe::dropRestOfPacket() {
  std::array<std::uint8_t, bulkPacketSize> excess;
  sent_ += source_.read(excess.data(), bulkPacketSize - sent_ % bulkPacketSize);
  if (!source_.atTransferEnd()) return;
  // The lost packet was the last of its transfer: the host did not see the end either.
  source_.endTransfer();
  sent_ = 0;
}

}  // namespace virtualscanner
