#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "EmulatedUsbfs.h"
#include "LibusbStack.h"

namespace {

using namespace platform;

class Usbfs : public testing::TestWithParam<bool> {
 protected:
  UsbInterface* firstInterface() {
    MachPort port = 0;
    EXPECT_EQ(stack.masterPort(&port), 0);
    IOObject iterator = 0;
    EXPECT_EQ(stack.matchingServices(port, {ServiceKind::usbInterface}, &iterator), 0);
    const IOObject service = stack.iteratorNext(iterator);
    EXPECT_NE(service, 0U);
    PlugInInterface* plugIn = nullptr;
    EXPECT_EQ(stack.createPlugInInterfaceForService(service, ServiceKind::usbInterface, &plugIn), 0);
    UsbInterface* interface = nullptr;
    if (plugIn != nullptr) {
      EXPECT_EQ(plugIn->queryInterface(&interface), 0);
      plugIn->release();
    }
    stack.objectRelease(service);
    stack.objectRelease(iterator);
    return interface;
  }

  virtualscanner::VirtualScanner scanner;
  EmulatedUsbfs usbfs{scanner, {.largeRequests = GetParam()}};
  LibusbStack stack{{0x1209, 1}};
};

TEST_P(Usbfs, Smoke) {
  UsbInterface* interface = firstInterface();
  ASSERT_NE(interface, nullptr);
  ASSERT_EQ(interface->open(), 0);
  std::uint8_t count = 0;
  EXPECT_EQ(interface->getNumEndpoints(&count), 0);
  EXPECT_EQ(count, 3);
  std::uint32_t size = 512;
  char buffer[512];
  EXPECT_EQ(interface->readPipeTO(2, buffer, &size, 80, 200), kIOUSBTransactionTimeout);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(interface->writePipeTO(1, "abcdefgh", 8, 80, 200), 0);
  EXPECT_EQ(interface->clearPipeStallBothEnds(2), 0);
  EXPECT_EQ(interface->close(), 0);
  EXPECT_EQ(usbfs.requestsInFlight(), 0U);
  interface->release();
}

INSTANTIATE_TEST_SUITE_P(Requests, Usbfs, testing::Bool());

}  // namespace
