#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Descriptors.h"

// The messages between a USB/IP server and its client, as the documentation of the Linux kernel defines them.
// All numbers are big-endian; names are padded with zeros. Pure functions over the caller's memory: sizes are
// checked by the caller, and only std::bad_alloc is thrown.
//
// A connection begins with one request of the client and the server's reply:
//
//   all of them      | version:2 | code:2 | status:4 |
//
//   device list      request   nothing more
//                    reply     | count:4 | and per device:
//                              | device:312 | per interface: class:1 | subclass:1 | protocol:1 | 0:1 |
//   import           request   | bus id:32 |
//                    reply     | device:312 | if the status is 0
//
//   device           | path:256 | bus id:32 | bus:4 | number:4 | speed:4 |
//                    | vendor:2 | product:2 | release:2 | class:1 | subclass:1 | protocol:1 |
//                    | configuration:1 | configurations:1 | interfaces:1 |
//
// Once a device is imported, commands and their replies follow, each with a header of 48 bytes:
//
//   all of them      | command:4 | sequence number:4 | device id:4 | direction:4 | endpoint:4 | below:28 |
//
//   submit           command   | flags:4 | length:4 | start frame:4 | packets:4 | interval:4 | setup:8 |
//                              and the bytes for the device
//                    reply     | status:4 | actual length:4 | start frame:4 | packets:4 | errors:4 | 0:8 |
//                              and the bytes from the device
//   unlink           command   | sequence number of the submit:4 | 0:24 |
//                    reply     | status:4 | 0:24 |
namespace virtualscanner::usbip {

inline constexpr std::uint16_t protocolVersion = 0x0111;
inline constexpr std::uint16_t defaultPort = 3240;

enum OperationCode : std::uint16_t {
  requestDevices = 0x8005,
  replyDevices = 0x0005,
  requestImport = 0x8003,
  replyImport = 0x0003,
};
enum OperationStatus : std::uint32_t { statusGood = 0, statusBusy = 2, statusNoDevice = 4 };
enum CommandCode : std::uint32_t {
  commandSubmit = 1,
  commandUnlink = 2,
  replySubmit = 3,
  replyUnlink = 4,
};
enum DirectionCode : std::uint32_t { directionOut = 0, directionFromDevice = 1 };

inline constexpr std::size_t operationHeaderSize = 8;
inline constexpr std::size_t pathSize = 256;
inline constexpr std::size_t busIdSize = 32;
inline constexpr std::size_t importRequestSize = operationHeaderSize + busIdSize;
inline constexpr std::size_t commandHeaderSize = 48;

// Packets of a transfer that is not isochronous; clients write one or the other.
inline constexpr std::uint32_t noPackets = 0;
inline constexpr std::uint32_t notIsochronous = 0xFFFFFFFF;

// The flag of a transfer for which a short packet is an error.
inline constexpr std::uint32_t flagShortNotOk = 0x0001;

// The address of the one device for clients. The bus is the server's, not one of the client's.
inline constexpr char deviceBusId[] = "1-1";
inline constexpr char devicePath[] = "/sys/devices/virtual/q750/usb1/1-1";
inline constexpr std::uint32_t deviceBus = 1;
inline constexpr std::uint32_t deviceNumber = 2;
inline constexpr std::uint32_t deviceId = deviceBus << 16 | deviceNumber;
inline constexpr std::uint32_t highSpeed = 3;

std::uint16_t read16(const std::uint8_t* bytes);
std::uint32_t read32(const std::uint8_t* bytes);

struct OperationHeader {
  std::uint16_t version;
  std::uint16_t code;
};
// Reads operationHeaderSize bytes.
OperationHeader parseOperation(const std::uint8_t* bytes);
// Reads importRequestSize bytes. The bus id ends at its first zero or with its field.
std::string_view importedBusId(const std::uint8_t* bytes);

struct CommandHeader {
  std::uint32_t command;
  std::uint32_t sequenceNumber;
  std::uint32_t device;
  std::uint32_t direction;
  std::uint32_t endpoint;
};
struct SubmitCommand {
  std::uint32_t flags;
  std::uint32_t length;
  std::uint32_t packets;
  SetupPacket setup;
};
// Each reads commandHeaderSize bytes.
CommandHeader parseCommand(const std::uint8_t* bytes);
SubmitCommand parseSubmit(const std::uint8_t* bytes);
std::uint32_t parseUnlink(const std::uint8_t* bytes);

// Each appends a message to `to`.
void addNoDevices(std::vector<std::uint8_t>& to);
void addDevices(std::vector<std::uint8_t>& to, const std::vector<std::uint8_t>& deviceDescriptor,
                const std::vector<std::uint8_t>& configurationDescriptor);
void addImportedDevice(std::vector<std::uint8_t>& to, const std::vector<std::uint8_t>& deviceDescriptor,
                       const std::vector<std::uint8_t>& configurationDescriptor);
void addImportRefusal(std::vector<std::uint8_t>& to, OperationStatus status);
// Statuses are those of Linux: 0 or a negative error number. The caller appends the bytes from the device.
void addSubmitReply(std::vector<std::uint8_t>& to, std::uint32_t sequenceNumber, int status,
                    std::uint32_t actualLength);
void addUnlinkReply(std::vector<std::uint8_t>& to, std::uint32_t sequenceNumber, int status);

}  // namespace virtualscanner::usbip
