#pragma once

#include <cstddef>
#include <cstdint>

// The numbers of the USB device framework (USB 2.0, chapter 9): the requests that every device understands
// on its control endpoint, endpoint addresses, and the layout of descriptors, each drawn once with its
// offsets. No I/O and no state, and no request of a class or a vendor. Every function may be called on any
// thread and never fails.
//
// Numbers of two bytes are little-endian on the wire.
namespace platform::usb {

constexpr std::uint16_t read16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

// An endpoint's address (9.6.6) and the type of a request (9.3.1) both keep their direction in
// the highest bit:
//
//   | direction:1, set for device to host | 0:3 | endpoint number:4 |
//   | direction:1, set for device to host | type:2, 0 for a standard request | recipient:5 |
inline constexpr std::uint8_t directionIn = 0x80;
inline constexpr std::uint8_t endpointNumberMask = 0x0F;

constexpr bool isIn(std::uint8_t addressOrRequestType) {
  return (addressOrRequestType & directionIn) != 0;
}
constexpr std::uint8_t endpointNumber(std::uint8_t address) {
  return address & endpointNumberMask;
}

// bmAttributes of an endpoint, the lowest two bits.
enum class TransferType : std::uint8_t { control = 0, isochronous = 1, bulk = 2, interrupt = 3 };

constexpr TransferType transferType(std::uint8_t attributes) {
  return static_cast<TransferType>(attributes & 0x03);
}

// The packet that opens a control transfer (9.3, table 9-2):
//
//   0                 1            2          4          6           8
//   | bmRequestType:1 | bRequest:1 | wValue:2 | wIndex:2 | wLength:2 |
inline constexpr std::size_t setupSize = 8;

struct SetupPacket {
  std::uint8_t requestType;
  std::uint8_t request;
  std::uint16_t value;
  std::uint16_t index;
  std::uint16_t length;  // of the data that follow, in either direction

  bool operator==(const SetupPacket&) const = default;
};

// Of setupSize bytes.
constexpr SetupPacket readSetup(const std::uint8_t* bytes) {
  return {bytes[0], bytes[1], read16(bytes + 2), read16(bytes + 4), read16(bytes + 6)};
}

// Types of the standard requests, by direction and recipient.
inline constexpr std::uint8_t toDevice = 0x00, toInterface = 0x01, toEndpoint = 0x02;
inline constexpr std::uint8_t fromDevice = 0x80, fromInterface = 0x81, fromEndpoint = 0x82;

// Standard requests (table 9-4).
inline constexpr std::uint8_t getStatus = 0, clearFeature = 1, setFeature = 3, getDescriptor = 6,
                              getConfiguration = 8, setConfiguration = 9, getInterface = 10,
                              setInterface = 11;

// The feature of an endpoint (table 9-6), and its bit in the endpoint's status (figure 9-6).
inline constexpr std::uint16_t endpointHalt = 0;
inline constexpr std::uint8_t haltedBit = 0x01;
// A bit of the device's status (figure 9-4).
inline constexpr std::uint8_t selfPoweredBit = 0x01;
inline constexpr std::uint16_t statusSize = 2;

// The requests that several users build, complete.
constexpr SetupPacket clearHaltOf(std::uint8_t endpointAddress) {
  return {toEndpoint, clearFeature, endpointHalt, endpointAddress, 0};
}
constexpr SetupPacket readStatusOf(std::uint8_t endpointAddress) {
  return {fromEndpoint, getStatus, 0, endpointAddress, statusSize};
}
constexpr SetupPacket selectSetting(std::uint8_t interface, std::uint8_t alternateSetting) {
  return {toInterface, setInterface, alternateSetting, interface, 0};
}
// `type` is one of those below; only strings have an index other than 0.
constexpr SetupPacket readDescriptor(std::uint8_t type, std::uint8_t index, std::uint16_t length) {
  return {fromDevice, getDescriptor, static_cast<std::uint16_t>(type << 8 | index), 0, length};
}

// Every descriptor begins with its length and its type (table 9-5).
//
//   | bLength:1 | bDescriptorType:1 | ...
inline constexpr std::size_t descriptorTypeAt = 1;
enum DescriptorType : std::uint8_t {
  deviceDescriptor = 1,
  configurationDescriptor = 2,
  stringDescriptor = 3,
  interfaceDescriptor = 4,
  endpointDescriptor = 5,
};

// Table 9-8:
//
//   0 | 18 | 1 | bcdUSB:2 | bDeviceClass:1 | bDeviceSubClass:1 | bDeviceProtocol:1 | bMaxPacketSize0:1 |
//   8 | idVendor:2 | idProduct:2 | bcdDevice:2 | iManufacturer:1 | iProduct:1 | iSerialNumber:1 |
//  17 | bNumConfigurations:1 |
namespace device {
inline constexpr std::uint8_t size = 18;
inline constexpr std::size_t classAt = 4, vendorAt = 8, productAt = 10, releaseAt = 12,
                             configurationCountAt = 17;
}  // namespace device

// Table 9-10; its interfaces and their endpoints follow it and count in wTotalLength:
//
//   0 | 9 | 2 | wTotalLength:2 | bNumInterfaces:1 | bConfigurationValue:1 | iConfiguration:1 |
//   7 | bmAttributes:1 | bMaxPower:1, in units of 2 mA |
namespace configuration {
inline constexpr std::uint8_t size = 9;
inline constexpr std::size_t totalLengthAt = 2, interfaceCountAt = 4, valueAt = 5;
inline constexpr std::uint8_t selfPowered = 0xC0;  // of bmAttributes, with the bit that is always set
}  // namespace configuration

// Table 9-12:
//
//   0 | 9 | 4 | bInterfaceNumber:1 | bAlternateSetting:1 | bNumEndpoints:1 | bInterfaceClass:1 |
//   6 | bInterfaceSubClass:1 | bInterfaceProtocol:1 | iInterface:1 |
namespace interface {
inline constexpr std::uint8_t size = 9;
inline constexpr std::size_t alternateSettingAt = 3, classAt = 5;
inline constexpr std::uint8_t vendorSpecificClass = 0xFF;
}  // namespace interface

// Class, subclass and protocol, adjacent in the descriptors of devices and of interfaces.
inline constexpr std::size_t classTripleSize = 3;

// Table 9-13:
//
//   | 7 | 5 | bEndpointAddress:1 | bmAttributes:1 | wMaxPacketSize:2 | bInterval:1 |
namespace endpoint {
inline constexpr std::uint8_t size = 7;
}  // namespace endpoint

// Tables 9-15 and 9-16; a string is UTF-16 without an end mark, string 0 a list of languages of
// two bytes each:
//
//   | length | 3 | string |
inline constexpr std::uint8_t stringHeaderSize = 2;
inline constexpr std::uint16_t englishUnitedStates = 0x0409;

}  // namespace platform::usb
