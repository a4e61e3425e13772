#include "UsbipFormat.h"

#include <algorithm>

namespace virtualscanner::usbip {
namespace {

namespace usb = platform::usb;

using Bytes = std::vector<std::uint8_t>;

void add16(Bytes& to, std::uint16_t value) {
  to.push_back(static_cast<std::uint8_t>(value >> 8));
  to.push_back(static_cast<std::uint8_t>(value & 0xFF));
}

void add32(Bytes& to, std::uint32_t value) {
  add16(to, static_cast<std::uint16_t>(value >> 16));
  add16(to, static_cast<std::uint16_t>(value & 0xFFFF));
}

// Descriptors are little-endian.
void addSwapped16(Bytes& to, const Bytes& descriptor, std::size_t at) {
  to.push_back(descriptor[at + 1]);
  to.push_back(descriptor[at]);
}

void addName(Bytes& to, std::string_view name, std::size_t size) {
  to.insert(to.end(), name.begin(), name.end());
  to.resize(to.size() + size - name.size());
}

void addOperation(Bytes& to, OperationCode code, OperationStatus status) {
  add16(to, protocolVersion);
  add16(to, code);
  add32(to, status);
}

void addDevice(Bytes& to, const Bytes& device, const Bytes& configuration) {
  addName(to, devicePath, pathSize);
  addName(to, deviceBusId, busIdSize);
  add32(to, deviceBus);
  add32(to, deviceNumber);
  add32(to, highSpeed);
  addSwapped16(to, device, usb::device::vendorAt);
  addSwapped16(to, device, usb::device::productAt);
  addSwapped16(to, device, usb::device::releaseAt);
  to.insert(to.end(), &device[usb::device::classAt], &device[usb::device::classAt] + usb::classTripleSize);
  to.push_back(configuration[usb::configuration::valueAt]);
  to.push_back(device[usb::device::configurationCountAt]);
  to.push_back(configuration[usb::configuration::interfaceCountAt]);
}

// Class, subclass and protocol of each interface, as its first setting has them.
void addInterfaces(Bytes& to, const Bytes& configuration) {
  for (std::size_t at = 0; at < configuration.size(); at += configuration[at]) {
    const std::uint8_t* descriptor = &configuration[at];
    if (descriptor[usb::descriptorTypeAt] != usb::interfaceDescriptor ||
        descriptor[usb::interface::alternateSettingAt] != 0)
      continue;
    to.insert(to.end(), descriptor + usb::interface::classAt,
              descriptor + usb::interface::classAt + usb::classTripleSize);
    to.push_back(0);
  }
}

// Replies name no device, direction and endpoint.
void addReply(Bytes& to, CommandCode command, std::uint32_t sequenceNumber, int status) {
  add32(to, command);
  add32(to, sequenceNumber);
  to.resize(to.size() + 12);
  add32(to, static_cast<std::uint32_t>(status));
}

}  // namespace

std::uint16_t read16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t read32(const std::uint8_t* bytes) {
  return std::uint32_t{read16(bytes)} << 16 | read16(bytes + 2);
}

OperationHeader parseOperation(const std::uint8_t* bytes) {
  return {read16(bytes), read16(bytes + 2)};
}

std::string_view importedBusId(const std::uint8_t* bytes) {
  const std::uint8_t* field = bytes + operationHeaderSize;
  const std::uint8_t* end = std::find(field, field + busIdSize, 0);
  return {reinterpret_cast<const char*>(field), static_cast<std::size_t>(end - field)};
}

CommandHeader parseCommand(const std::uint8_t* bytes) {
  return {read32(bytes), read32(bytes + 4), read32(bytes + 8), read32(bytes + 12), read32(bytes + 16)};
}

SubmitCommand parseSubmit(const std::uint8_t* bytes) {
  return {read32(bytes + 20), read32(bytes + 24), read32(bytes + 32), usb::readSetup(bytes + 40)};
}

std::uint32_t parseUnlink(const std::uint8_t* bytes) {
  return read32(bytes + 20);
}

void addNoDevices(Bytes& to) {
  addOperation(to, replyDevices, statusGood);
  add32(to, 0);
}

void addDevices(Bytes& to, const Bytes& deviceDescriptor, const Bytes& configurationDescriptor) {
  addOperation(to, replyDevices, statusGood);
  add32(to, 1);
  addDevice(to, deviceDescriptor, configurationDescriptor);
  addInterfaces(to, configurationDescriptor);
}

void addImportedDevice(Bytes& to, const Bytes& deviceDescriptor, const Bytes& configurationDescriptor) {
  addOperation(to, replyImport, statusGood);
  addDevice(to, deviceDescriptor, configurationDescriptor);
}

void addImportRefusal(Bytes& to, OperationStatus status) {
  addOperation(to, replyImport, status);
}

void addSubmitReply(Bytes& to, std::uint32_t sequenceNumber, int status, std::uint32_t actualLength) {
  addReply(to, replySubmit, sequenceNumber, status);
  add32(to, actualLength);
  to.resize(to.size() + 20);
}

void addUnlinkReply(Bytes& to, std::uint32_t sequenceNumber, int status) {
  addReply(to, replyUnlink, sequenceNumber, status);
  to.resize(to.size() + 24);
}

}  // namespace virtualscanner::usbip
