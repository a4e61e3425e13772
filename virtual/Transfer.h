#pragma once

#include <cstddef>
#include <cstdint>

namespace virtualscanner {

enum class TransferStatus : std::uint8_t {
  done,     // what the device had to say or could take is through
  silent,   // the device does nothing more: the host waits until its time-out
  halted,   // the endpoint is halted until the host clears it
  overrun,  // the device sent a packet larger than the room left; the excess is lost
  gone,     // not plugged in
};

// What came of one attempt of the host to move bytes.
struct Transfer {
  TransferStatus status;
  std::size_t moved = 0;  // bytes, valid on every status
  bool ended = false;     // done, and a short or zero-length packet ended it: there is nothing to wait for

  friend bool operator==(const Transfer&, const Transfer&) = default;
};

}  // namespace virtualscanner
