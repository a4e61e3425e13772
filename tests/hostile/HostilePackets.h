#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hostile {

// A packet as a device sends it.
struct Packet {
  std::uint8_t type;
  std::uint32_t announced;  // the length in its header
  std::string payload;
  std::uint64_t times = 1;  // it is sent
};
using Packets = std::vector<Packet>;

// One that announces the length that it has.
Packet packet(std::uint8_t type, std::string payload, std::uint64_t times = 1);

// Header and payload, once.
std::string bytesOf(const Packet& packet);

// What an honest device sent, cut into its packets.
Packets packetsOf(const std::string& bytes);

}  // namespace hostile
