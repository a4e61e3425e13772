#include "HostilePackets.h"

#include <algorithm>
#include <utility>

#include "PacketFormat.h"

namespace hostile {

Packet packet(std::uint8_t type, std::string payload, std::uint64_t times) {
  const auto length = static_cast<std::uint32_t>(payload.size());
  return {type, length, std::move(payload), times};
}

std::string bytesOf(const Packet& packet) {
  std::uint8_t header[wire::packetHeaderSize];
  wire::writeHeader(header, packet.type, packet.announced);
  return std::string(reinterpret_cast<const char*>(header), sizeof header) + packet.payload;
}

Packets packetsOf(const std::string& bytes) {
  Packets packets;
  std::size_t offset = 0;
  while (bytes.size() - offset >= wire::packetHeaderSize) {
    const auto* header = reinterpret_cast<const std::uint8_t*>(bytes.data()) + offset;
    const std::uint32_t length = wire::payloadLengthOf(header);
    packets.push_back(packet(wire::typeOf(header), bytes.substr(offset + wire::packetHeaderSize, length)));
    offset = std::min(bytes.size(), offset + wire::packetHeaderSize + length);
  }
  return packets;
}

}  // namespace hostile
