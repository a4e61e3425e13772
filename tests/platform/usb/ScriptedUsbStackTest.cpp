#include <gmock/gmock.h>

#include <array>

#include "ScriptedUsbStack.h"

namespace {

using fakes::bulkIn;
using fakes::bulkOut;
using platform::kIOReturnSuccess;
using platform::ServiceKind;
using testing::ElementsAre;
using testing::IsEmpty;

// Obtains objects from the stack as a driver does, in no more steps than a test needs.
class ScriptedStack : public testing::Test {
 protected:
  platform::UsbInterface* interfaceOf(unsigned int number) {
    platform::PlugInInterface* plugIn = nullptr;
    usb.createPlugInInterfaceForService(service(number), ServiceKind::usbInterface, &plugIn);
    platform::UsbInterface* interface = nullptr;
    plugIn->queryInterface(&interface);
    plugIn->release();
    return interface;
  }
  // Iterates to the n-th service of the kind in the registry and keeps holding it.
  platform::IOObject service(unsigned int number, ServiceKind kind = ServiceKind::usbInterface) {
    platform::MachPort port = 0;
    usb.masterPort(&port);
    platform::IOObject iterator = 0;
    usb.matchingServices(port, *usb.serviceMatching(kind), &iterator);
    platform::IOObject found = 0;
    for (unsigned int i = 0; i < number; ++i) {
      if (found != 0) usb.objectRelease(found);
      found = usb.iteratorNext(iterator);
    }
    usb.objectRelease(iterator);
    usb.portDeallocate(port);
    return found;
  }
  platform::IOReturn read(platform::UsbInterface& interface, std::uint8_t pipe, std::uint32_t capacity) {
    std::vector<char> buffer(capacity);
    size = capacity;
    const platform::IOReturn status = interface.readPipeTO(pipe, buffer.data(), &size, 1, 2);
    bytes.assign(buffer.data(), std::min(size, capacity));
    return status;
  }

  fakes::ScriptedUsbStack usb;
  std::uint32_t size = 0;
  std::string bytes;
};

TEST_F(ScriptedStack, EnumeratesTheServicesOfOneKind) {
  usb.addInterface({bulkOut(2)});
  usb.addDevice(1, 2, 3);
  usb.addInterface({bulkOut(4)});
  EXPECT_NE(service(1), service(2));
  EXPECT_EQ(service(3), 0U);
  EXPECT_EQ(service(2, ServiceKind::usbDevice), 0U);
}

TEST_F(ScriptedStack, RecordsEachCallWithItsArguments) {
  usb.addInterface({bulkOut(2), bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  usb.forgetCalls();
  interface->open();
  interface->writePipeTO(1, "ab", 2, 15, 60);
  interface->controlRequest(0, {platform::usb::clearHaltOf(0x88), nullptr});
  interface->close();
  EXPECT_THAT(usb.calls(),
              ElementsAre("interface 1.open()", "interface 1.writePipeTO(1, 2, 15, 60)",
                          "interface 1.controlRequest(0, type 02 request 01 value 0000 index 0088 "
                          "length 0)",
                          "interface 1.close()"));
  ASSERT_EQ(usb.transfers().size(), 1U);
  EXPECT_EQ(usb.transfers()[0].bytes, "ab");
}

TEST_F(ScriptedStack, AnswersReadsInOrderAndKeepsWhatDidNotFit) {
  usb.addInterface({bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  usb.queueRead(1, "abcde");
  usb.queueStatus(1, platform::kIOUSBPipeStalled);
  EXPECT_EQ(read(*interface, 1, 3), kIOReturnSuccess);
  EXPECT_EQ(bytes, "abc");
  EXPECT_EQ(read(*interface, 1, 3), kIOReturnSuccess);
  EXPECT_EQ(bytes, "de");
  EXPECT_EQ(read(*interface, 1, 3), platform::kIOUSBPipeStalled);
  EXPECT_EQ(size, 0U);
}

TEST_F(ScriptedStack, TimesOutWithNothingQueuedAndVanishesInTheEnd) {
  usb.addInterface({bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  for (int i = 1; i < 100; ++i) EXPECT_EQ(read(*interface, 1, 3), platform::kIOUSBTransactionTimeout);
  EXPECT_EQ(read(*interface, 1, 3), platform::kIOReturnNoDevice);
}

TEST_F(ScriptedStack, CanReportMoreThanItGives) {
  usb.addInterface({bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  usb.queueReportedSize(1, "abc", 1000);
  EXPECT_EQ(read(*interface, 1, 3), kIOReturnSuccess);
  EXPECT_EQ(size, 1000U);
}

TEST_F(ScriptedStack, TellsWhetherReadBuffersWereZero) {
  usb.addInterface({bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  read(*interface, 1, 100);
  EXPECT_TRUE(usb.readBuffersWereZero());
  std::array<char, 3> buffer{0, 0, 1};
  size = 3;
  interface->readPipeTO(1, buffer.data(), &size, 1, 2);
  EXPECT_FALSE(usb.readBuffersWereZero());
}

TEST_F(ScriptedStack, FailsTheCallThatIsNamedOnce) {
  usb.addInterface({bulkOut(2), bulkIn(8)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  usb.failNext("interface 1.getPipeProperties(2)", platform::kIOReturnError);
  platform::PipeProperties properties{};
  EXPECT_EQ(interface->getPipeProperties(1, &properties), kIOReturnSuccess);
  EXPECT_EQ(interface->getPipeProperties(2, &properties), platform::kIOReturnError);
  EXPECT_EQ(properties.endpointNumber, 2);  // unchanged
  EXPECT_EQ(interface->getPipeProperties(2, &properties), kIOReturnSuccess);
  EXPECT_EQ(interface->getPipeProperties(3, &properties), platform::kIOUSBUnknownPipeErr);
}

TEST_F(ScriptedStack, FailsTheNthCallThatCanFail) {
  usb.failCall(2, platform::kIOReturnNoMemory);
  platform::MachPort port = 0;
  EXPECT_EQ(usb.masterPort(&port), kIOReturnSuccess);
  EXPECT_FALSE(usb.serviceMatching(ServiceKind::usbDevice).has_value());
  EXPECT_TRUE(usb.serviceMatching(ServiceKind::usbDevice).has_value());
  EXPECT_EQ(usb.fallibleCalls(), 3);
}

TEST_F(ScriptedStack, OpensAnInterfaceOnceAtATime) {
  usb.addInterface({bulkOut(2)});
  platform::UsbInterface* first = interfaceOf(1);
  platform::UsbInterface* second = interfaceOf(1);
  EXPECT_EQ(first->open(), kIOReturnSuccess);
  EXPECT_EQ(second->open(), platform::kIOReturnExclusiveAccess);
  first->close();
  EXPECT_EQ(second->open(), kIOReturnSuccess);
}

TEST_F(ScriptedStack, AccountsForWhatIsHeld) {
  usb.addInterface({bulkOut(2)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->open();
  EXPECT_THAT(usb.leftovers(), ElementsAre("interface 1", "open interface 1", "service 1"));
  interface->close();
  interface->release();
  EXPECT_THAT(usb.leftovers(), ElementsAre("service 1"));
  EXPECT_THAT(usb.misuse(), IsEmpty());
}

TEST_F(ScriptedStack, TellsMisuse) {
  usb.addInterface({bulkOut(2)});
  platform::UsbInterface* interface = interfaceOf(1);
  interface->close();
  interface->release();
  interface->abortPipe(1);
  usb.portDeallocate(7);
  EXPECT_THAT(usb.misuse(), ElementsAre("open interface 1 given back without being held",
                                        "interface 1.abortPipe(1) after its release",
                                        "portDeallocate() of no port", "port given back without being held"));
}

TEST_F(ScriptedStack, RefusesThePlugInOfTheOtherKind) {
  usb.addDevice(1, 2, 3);
  platform::PlugInInterface* plugIn = nullptr;
  usb.createPlugInInterfaceForService(service(1, ServiceKind::usbDevice), ServiceKind::usbDevice, &plugIn);
  platform::UsbInterface* interface = nullptr;
  EXPECT_EQ(plugIn->queryInterface(&interface), platform::kIOReturnUnsupported);
  platform::UsbDevice* device = nullptr;
  ASSERT_EQ(plugIn->queryInterface(&device), kIOReturnSuccess);
  std::uint32_t location = 0;
  EXPECT_EQ(device->getLocationID(&location), kIOReturnSuccess);
  EXPECT_EQ(location, 3U);
}

}  // namespace
