#pragma once

#include <cstdint>
#include <vector>

#include "Fault.h"

namespace virtualscanner {

// Whether a transfer from the device that ends exactly on a packet boundary is closed by a zero-length
// packet. Without one the host cannot see its end: a read with room left runs on into the next transfer, or
// waits for its no-data time-out.
enum class ZeroLengthPackets : std::uint8_t { never, whenNeeded };

// How a virtual scanner differs from the next one of its make.
struct ScannerOptions {
  // Image bytes in one image packet of the job stream; 0 counts as 1.
  std::uint32_t packetPayload = 65536;
  // Bytes of the job stream in one transfer, so the most that a read of the data pipe answers; 0 for the
  // whole stream in one transfer, which a read then fills its buffer from.
  std::uint32_t transferBytes = 0;
  ZeroLengthPackets zeroLengthPackets = ZeroLengthPackets::whenNeeded;
  // Alternate setting 0 has no endpoints and setting 1 has 13, of which the scanner's three are some.
  // Otherwise there is one setting with just these three.
  bool alternateSettings = false;
  // Paint the page when the job starts and keep it, for the next job that asks for the same: streaming then
  // costs one copy, at the price of the page's memory. Otherwise rows are painted as they leave.
  bool paintAhead = false;
  std::vector<Fault> faults;
};

}  // namespace virtualscanner
