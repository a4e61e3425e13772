#pragma once

#include <cstdint>
#include <vector>

#include "Fault.h"

namespace virtualscanner {

// Whether a transfer from the device that ends exactly on a packet boundary is closed by a zero-length
// packet. Without one the host cannot see its end: a read with room left runs on into the next transfer, or
// waits for its no-data time-out.
enum class ZeroLengthPackets : std::uint8_t { never, whenNeeded };

// How a virtual scanner differs from another of its model.
struct ScannerOptions {
  // Packets beyond this size are garbage to hosts that check for it, and cost the library as much memory.
  static constexpr std::uint32_t largestPacketPayload = 256u * 1024 * 1024;

  // Image bytes in one image packet of the job stream, clamped to 1 and largestPacketPayload.
  std::uint32_t packetPayload = 65536;
  // Bytes of the job stream in one transfer, which is the most that one read of the data pipe returns. 0 puts
  // the whole stream into one transfer, so that each read is filled.
  std::uint32_t transferBytes = 0;
  ZeroLengthPackets zeroLengthPackets = ZeroLengthPackets::whenNeeded;
  // Alternate setting 0 has no endpoints, and setting 1 has 13, the scanner's three among them. Otherwise
  // there is one setting with just these three.
  bool alternateSettings = false;
  // Paint the page when the job starts and keep it for the next job that requests the same page: streaming
  // then costs one copy, at the price of the page's memory. Otherwise rows are painted as they are read.
  bool paintAhead = false;
  std::vector<Fault> faults;
};

}  // namespace virtualscanner
