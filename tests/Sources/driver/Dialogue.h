#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ScriptedUsbStack.h"

// The device's side of a dialogue, and a dialogue as text.

// One packet: type, three zero bytes, length big-endian, payload.
std::string packet(std::uint8_t type, const std::string& payload);
inline std::string controlPacket(const std::string& payload) {
  return packet(0xCC, payload);
}
inline std::string imagePacket(const std::string& payload) {
  return packet(0xDD, payload);
}

// Control packets as a device sends them.
std::string response(const std::string& result);
std::string faultReply(const std::string& message);

// A picture as a device sends it; the raster is used as given.
std::string pixmap(unsigned int width, unsigned int height, const std::string& raster);   // P6
std::string greymap(unsigned int width, unsigned int height, const std::string& raster);  // P5

// n different bytes, none of them zero (repeating after 255).
std::string countingBytes(std::size_t n, unsigned int first = 1);

// Every byte of every transfer. Printable bytes are unchanged, "\n" also ends the line, others are \xNN.
std::string asText(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers);

// What the host wrote, packet headers removed.
std::vector<std::string> requestsOf(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers);
// "object.method" for each request.
std::vector<std::string> methodsOf(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers);
