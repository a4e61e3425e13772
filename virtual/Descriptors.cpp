#include "Descriptors.h"

#include <array>

#include "DeviceIdentity.h"

namespace virtualscanner {

namespace usb = platform::usb;

namespace {

using usb::TransferType;

constexpr std::uint8_t out = 0;

constexpr Endpoint bulk(std::uint8_t direction, std::uint8_t number) {
  return {static_cast<std::uint8_t>(direction | number), TransferType::bulk, bulkPacketSize, 0};
}

constexpr std::array plainEndpoints{bulk(out, 2), bulk(directionIn, 11), bulk(directionIn, 8)};

// The others include endpoints with the scanner's numbers but the other direction or another type.
constexpr std::array allEndpoints{bulk(out, 1),
                                  bulk(directionIn, 1),
                                  Endpoint{directionIn | 3, TransferType::interrupt, 64, 8},
                                  bulk(out, 2),
                                  bulk(directionIn, 4),
                                  bulk(out, 5),
                                  bulk(out, 8),
                                  bulk(directionIn, 8),
                                  bulk(out, 7),
                                  bulk(directionIn, 11),
                                  bulk(out, 11),
                                  bulk(directionIn, 12),
                                  Endpoint{directionIn | 2, TransferType::interrupt, 64, 8}};
static_assert(allEndpoints.size() == 13);

constexpr const char* strings[] = {nullptr, "Quenvar", "Quenvar Q750", "VIRTUAL1"};

std::uint8_t low(std::size_t value) {
  return static_cast<std::uint8_t>(value & 0xFF);
}
std::uint8_t high(std::size_t value) {
  return static_cast<std::uint8_t>(value >> 8 & 0xFF);
}

void addInterface(std::vector<std::uint8_t>& bytes, std::uint8_t alternateSetting,
                  std::span<const Endpoint> endpoints) {
  bytes.insert(bytes.end(),
               {usb::interface::size, usb::interfaceDescriptor, /*number*/ 0, alternateSetting,
                low(endpoints.size()), usb::interface::vendorSpecificClass, /*subclass*/ 0, /*protocol*/ 0,
                /*name*/ 0});
  for (const Endpoint& e : endpoints) {
    bytes.insert(bytes.end(),
                 {usb::endpoint::size, usb::endpointDescriptor, e.address, static_cast<std::uint8_t>(e.type),
                  low(e.maxPacketSize), high(e.maxPacketSize), e.interval});
  }
}

}  // namespace

std::span<const Endpoint> scannerEndpoints() {
  return plainEndpoints;
}
std::span<const Endpoint> multifunctionEndpoints() {
  return allEndpoints;
}

std::vector<std::uint8_t> makeDeviceDescriptor() {
  using platform::deviceProductId;
  using platform::deviceVendorId;
  return {usb::device::size,
          usb::deviceDescriptor,
          /*USB 2.0*/ 0x00,
          0x02,
          /*class, subclass, protocol: see the interface*/ 0,
          0,
          0,
          /*packets of endpoint 0*/ 64,
          low(deviceVendorId),
          high(deviceVendorId),
          low(deviceProductId),
          high(deviceProductId),
          /*release 1.0*/ 0x00,
          0x01,
          /*strings*/ 1,
          2,
          3,
          /*configurations*/ 1};
}

std::vector<std::uint8_t> makeConfigurationDescriptor(bool alternateSettings) {
  std::vector<std::uint8_t> bytes{usb::configuration::size,
                                  usb::configurationDescriptor,
                                  /*total length*/ 0,
                                  0,
                                  /*interfaces*/ 1,
                                  /*value*/ 1,
                                  /*name*/ 0,
                                  usb::configuration::selfPowered,
                                  /*2 mA units*/ 1};
  if (alternateSettings) {
    addInterface(bytes, 0, {});
    addInterface(bytes, 1, multifunctionEndpoints());
  } else {
    addInterface(bytes, 0, scannerEndpoints());
  }
  bytes[usb::configuration::totalLengthAt] = low(bytes.size());
  bytes[usb::configuration::totalLengthAt + 1] = high(bytes.size());
  return bytes;
}

std::vector<std::uint8_t> makeStringDescriptor(std::uint8_t index) {
  if (index == 0)
    return {usb::stringHeaderSize + 2, usb::stringDescriptor, low(usb::englishUnitedStates),
            high(usb::englishUnitedStates)};
  if (index >= std::size(strings)) return {};
  std::vector<std::uint8_t> bytes{0, usb::stringDescriptor};
  for (const char* c = strings[index]; *c != '\0'; ++c) {
    bytes.push_back(static_cast<std::uint8_t>(*c));  // UTF-16LE
    bytes.push_back(0);
  }
  bytes[0] = low(bytes.size());
  return bytes;
}

}  // namespace virtualscanner
