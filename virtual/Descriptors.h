#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "UsbDeviceFramework.h"

namespace virtualscanner {

using platform::usb::directionIn;
using platform::usb::SetupPacket;

inline constexpr std::uint8_t requestEndpoint = 2;
inline constexpr std::uint8_t replyEndpoint = directionIn | 11;
inline constexpr std::uint8_t dataEndpoint = directionIn | 8;

// High speed: the size of every bulk packet but the last of a transfer.
inline constexpr std::uint16_t bulkPacketSize = 512;

struct Endpoint {
  std::uint8_t address;
  platform::usb::TransferType type;
  std::uint16_t maxPacketSize;
  std::uint8_t interval;
};

// The endpoints of the plain device, and of alternate setting 1 of the other variant.
std::span<const Endpoint> scannerEndpoints();
std::span<const Endpoint> multifunctionEndpoints();

// The descriptors byte for byte as they travel (USB 2.0, 9.6).
std::vector<std::uint8_t> makeDeviceDescriptor();
std::vector<std::uint8_t> makeConfigurationDescriptor(bool alternateSettings);
// String 0 is the list of languages; empty for a string that the device does not have.
std::vector<std::uint8_t> makeStringDescriptor(std::uint8_t index);

}  // namespace virtualscanner
