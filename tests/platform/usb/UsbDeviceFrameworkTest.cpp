#include <gtest/gtest.h>

#include "UsbDeviceFramework.h"

// Repeats the numbers from the standard: a wrong one would be wrong on both sides of every emulated wire and
// pass all other tests.
namespace platform::usb {
namespace {

TEST(SetupPacket, IsReadLittleEndian) {
  const std::uint8_t bytes[setupSize] = {0x81, 6, 0x02, 0x01, 0x04, 0x03, 0x06, 0x05};
  EXPECT_EQ(readSetup(bytes), (SetupPacket{0x81, 6, 0x0102, 0x0304, 0x0506}));
}

TEST(StandardRequest, HasTheBytesOfTheStandard) {
  EXPECT_EQ(clearHaltOf(0x88), (SetupPacket{0x02, /*CLEAR_FEATURE*/ 1, /*ENDPOINT_HALT*/ 0, 0x88, 0}));
  EXPECT_EQ(readStatusOf(0x8B), (SetupPacket{0x82, /*GET_STATUS*/ 0, 0, 0x8B, 2}));
  EXPECT_EQ(selectSetting(3, 1), (SetupPacket{0x01, /*SET_INTERFACE*/ 11, 1, 3, 0}));
  EXPECT_EQ(readDescriptor(stringDescriptor, 2, 255),
            (SetupPacket{0x80, /*GET_DESCRIPTOR*/ 6, 0x0302, 0, 255}));
}

TEST(EndpointAddress, HoldsDirectionAndNumber) {
  EXPECT_TRUE(isIn(0x8B));
  EXPECT_FALSE(isIn(0x02));
  EXPECT_EQ(endpointNumber(0x8B), 11);
  EXPECT_EQ(endpointNumber(0x02), 2);
}

TEST(EndpointAttributes, HoldTheTypeInTheirLowestBits) {
  EXPECT_EQ(transferType(0xFC), TransferType::control);
  EXPECT_EQ(transferType(0x0D), TransferType::isochronous);
  EXPECT_EQ(transferType(0x02), TransferType::bulk);
  EXPECT_EQ(transferType(0x07), TransferType::interrupt);
}

}  // namespace
}  // namespace platform::usb
