#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "PacketFormat.h"

// Packets as the device sends them, as strings of bytes.
inline std::string packetHeader(std::uint8_t type, std::uint32_t length) {
  std::uint8_t header[wire::packetHeaderSize];
  wire::writeHeader(header, type, length);
  return {reinterpret_cast<const char*>(header), sizeof header};
}

inline std::string packet(std::uint8_t type, std::string_view payload = {}) {
  return packetHeader(type, static_cast<std::uint32_t>(payload.size())) + std::string(payload);
}

inline std::string response(std::string_view value) {
  return packet(wire::controlData, "<?xml version=\"1.0\"?>\r\n<response requestID=\"7\">\r\n  <StringElem>" +
                                       std::string(value) + "</StringElem>\r\n</response>\r\n");
}

inline std::string exceptionReply(std::string_view reason) {
  return packet(wire::controlData, "<?xml version=\"1.0\"?>\r\n<exception requestID=\"7\">\r\n  <message>" +
                                       std::string(reason) + "</message>\r\n</exception>\r\n");
}

inline std::string call(std::string_view method) {
  return packet(wire::controlData,
                "<?xml version=\"1.0\"?>\r\n<method name=\"callMethod\" requestID=\"7\">\r\n  <arg "
                "name=\"objName\">system</arg>\r\n  <arg name=\"method\">" +
                    std::string(method) + "</arg>\r\n</method>\r\n");
}
