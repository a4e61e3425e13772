#pragma once

#include <cstddef>
#include <cstdint>

namespace virtualscanner {

enum class TransferStatus : std::uint8_t {
  done,     // the device sent what it had, or took what it could
  silent,   // the device moves nothing more: the host waits until its time-out
  halted,   // the endpoint is halted until the host clears it
  overrun,  // the device sent a packet larger than the room left; the excess is lost
  gone,     // not plugged in
};

// The outcome of one attempt of the host to move bytes.
struct Transfer {
  TransferStatus status;
  std::size_t moved = 0;  // bytes, valid on every status
  bool ended = false;     // done, and a short or zero-length packet ended it: there is nothing to wait for

  friend bool operator==(const Transfer&, const Transfer&) = default;
};

}  // namespace virtualscanner
