#pragma once

#include <cstddef>
#include <cstdint>

// The framing of everything that host and device send each other over the bulk pipes:
//
//   offset  0       1           4                    8
//           | type  | reserved  | length, big-endian | payload ... |
//   bytes     1       3           4                    length
//
// `reserved` is written as 0 and never read. `length` counts only the payload. Packets follow
// each other directly, without trailer or checksum. Control packets carry the messages of the remote
// calls, in both directions; image packets carry bytes of the page; the payload of the four markers, if any,
// is skipped.
//
// Pure functions over the caller's memory; nothing here owns, fails or blocks.
namespace wire {

inline constexpr std::uint8_t beginImageJob = 0xAA;
inline constexpr std::uint8_t beginImagePage = 0xBB;
inline constexpr std::uint8_t controlData = 0xCC;
inline constexpr std::uint8_t imageData = 0xDD;
inline constexpr std::uint8_t endImagePage = 0xEE;
inline constexpr std::uint8_t endImageJob = 0xFF;

inline constexpr std::size_t typeOffset = 0;
inline constexpr std::size_t reservedOffset = 1;
inline constexpr std::size_t lengthOffset = 4;
inline constexpr std::uint32_t packetHeaderSize = 8;

// Both read a complete header.
inline std::uint8_t typeOf(const std::uint8_t* packet) {
  return packet[typeOffset];
}
inline std::uint32_t payloadLengthOf(const std::uint8_t* packet) {
  const std::uint8_t* length = packet + lengthOffset;
  return static_cast<std::uint32_t>(length[0]) << 24 | static_cast<std::uint32_t>(length[1]) << 16 |
         static_cast<std::uint32_t>(length[2]) << 8 | static_cast<std::uint32_t>(length[3]);
}

// The size of a whole packet. Wraps at 32 bits: payload lengths from 0xFFFFFFF8 up give 0 to 7.
inline std::uint32_t packetSize(std::uint32_t payloadLength) {
  return payloadLength + packetHeaderSize;
}

// Writes packetHeaderSize bytes.
inline void writeHeader(std::uint8_t* packet, std::uint8_t type, std::uint32_t payloadLength) {
  packet[typeOffset] = type;
  for (std::size_t i = reservedOffset; i < lengthOffset; ++i) packet[i] = 0;
  for (std::size_t i = lengthOffset; i < packetHeaderSize; ++i) {
    packet[i] = static_cast<std::uint8_t>(payloadLength >> (8 * (packetHeaderSize - 1 - i)) & 0xFF);
  }
}

}  // namespace wire
