#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "USBScanProtocol.h"

using Bytes = std::vector<std::uint8_t>;

// One packet as the device sends it, made without help from the code under test.
Bytes packet(std::uint8_t type, const std::string& payload = "");
// A header alone, announcing any length.
Bytes header(std::uint8_t type, std::uint32_t length);
Bytes operator+(Bytes first, const Bytes& second);

// Thrown by a callback that has been called often enough.
struct Enough {};

// A parser with callbacks that record what they receive, as "beginImageJob", "control(ok)", "image(abc)", or
// "image[-8]" for a length below 0:
//
//   feed(packet(0xCC, "ok"));
//   EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
class PacketStream : public testing::Test {
 protected:
  PacketStream() { start(callbacks()); }
  ~PacketStream() override { releaseUSBScanProtocol(parser); }

  // Continues with a new parser.
  void start(const USBScanProtocolCallbacks& callbacks);
  USBScanProtocolCallbacks callbacks();

  void feed(const Bytes& bytes, std::int8_t convert = 1);
  std::vector<std::string> takeEvents();

  void* parser = nullptr;
  int callsUntilThrow = -1;  // never

 private:
  void write(std::string event);
  static PacketStream& self(void* info) { return *static_cast<PacketStream*>(info); }
  static std::string described(const char* name, const void* bytes, int length);

  std::vector<std::string> events_;
};
