#include <gmock/gmock.h>

#include "DeviceIdentity.h"
#include "ScriptedUsbStack.h"
#include "UsbStack.h"

namespace {

using platform::IOReturn;
using platform::kIOReturnSuccess;
using platform::ServiceKind;

TEST(DefaultUsbStack, HasARegistryWithoutServices) {
  platform::useUsbStack(nullptr);
  platform::UsbStack& stack = platform::usbStack();
  platform::MachPort port = 0;
  ASSERT_EQ(stack.masterPort(&port), kIOReturnSuccess);
  EXPECT_NE(port, 0U);
  for (const ServiceKind kind : {ServiceKind::usbInterface, ServiceKind::usbDevice}) {
    const auto matching = stack.serviceMatching(kind);
    ASSERT_TRUE(matching.has_value());
    EXPECT_EQ(matching->kind, kind);
    platform::IOObject iterator = 0;
    ASSERT_EQ(stack.matchingServices(port, *matching, &iterator), kIOReturnSuccess);
    EXPECT_EQ(stack.iteratorNext(iterator), 0U);
    stack.objectRelease(iterator);
  }
  stack.portDeallocate(port);
}

TEST(DefaultUsbStack, MakesNoPlugIn) {
  platform::PlugInInterface* plugIn = nullptr;
  EXPECT_EQ(platform::usbStack().createPlugInInterfaceForService(1, ServiceKind::usbDevice, &plugIn),
            platform::kIOReturnNoDevice);
  EXPECT_EQ(plugIn, nullptr);
}

TEST(ChosenUsbStack, IsUsedUntilNullBringsTheDefaultBack) {
  platform::UsbStack* defaultStack = &platform::usbStack();
  fakes::ScriptedUsbStack first;
  fakes::ScriptedUsbStack second;
  platform::useUsbStack(&first);
  EXPECT_EQ(&platform::usbStack(), &first);
  platform::useUsbStack(&second);
  EXPECT_EQ(&platform::usbStack(), &second);
  platform::useUsbStack(nullptr);
  EXPECT_EQ(&platform::usbStack(), defaultStack);
}

TEST(DefaultUsbStack, CanBeAnother) {
  static fakes::ScriptedUsbStack another;
  static fakes::ScriptedUsbStack chosen;
  platform::useDefaultUsbStack([]() -> platform::UsbStack& { return another; });
  EXPECT_EQ(&platform::usbStack(), &another);
  platform::useUsbStack(&chosen);
  EXPECT_EQ(&platform::usbStack(), &chosen);
  platform::useUsbStack(nullptr);
  EXPECT_EQ(&platform::usbStack(), &another);
  platform::useDefaultUsbStack(nullptr);
  EXPECT_NE(&platform::usbStack(), &another);
}

TEST(Statuses, AreThePlatformsOwnValues) {
  const auto bits = [](IOReturn status) { return static_cast<std::uint32_t>(status); };
  EXPECT_EQ(bits(platform::kIOReturnSuccess), 0U);
  EXPECT_EQ(bits(platform::kIOReturnNoDevice), 0xE00002C0U);
  EXPECT_EQ(bits(platform::kIOReturnAborted), 0xE00002EBU);
  EXPECT_EQ(bits(platform::kIOUSBTransactionTimeout), 0xE0004051U);
  EXPECT_EQ(bits(platform::kIOUSBPipeStalled), 0xE000404FU);
  EXPECT_EQ(bits(platform::kIOUSBUnknownPipeErr), 0xE0004061U);
}

TEST(DeviceIdentity, HasBothIdentifiers) {
  EXPECT_NE(platform::deviceVendorId, 0);
  EXPECT_NE(platform::deviceProductId, 0);
}

TEST(PipeProperties, HaveTheNumbersOfTheStandard) {
  EXPECT_EQ(static_cast<int>(platform::PipeDirection::out), 0);
  EXPECT_EQ(static_cast<int>(platform::PipeDirection::in), 1);
  EXPECT_EQ(static_cast<int>(platform::TransferType::control), 0);
  EXPECT_EQ(static_cast<int>(platform::TransferType::isochronous), 1);
  EXPECT_EQ(static_cast<int>(platform::TransferType::bulk), 2);
  EXPECT_EQ(static_cast<int>(platform::TransferType::interrupt), 3);
}

}  // namespace
