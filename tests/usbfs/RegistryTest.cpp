#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include "DeviceIdentity.h"
#include "RecordingLogSink.h"
#include "UsbfsHost.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

class UsbfsRegistry : public UsbfsHost {
 protected:
  std::uint32_t locationOf(int n) {
    std::uint32_t location = 0;
    EXPECT_EQ(StackUser(*stack_).device(n)->getLocationID(&location), kIOReturnSuccess);
    return location;
  }
};

TEST_F(UsbfsRegistry, ListsTheConfiguredIdentityAndNoOther) {
  plugIn();
  usbfs_->addNeighbour(1, "2", 0x1234, 0x5678);
  usbfs_->addNeighbour(1, "3", deviceVendorId, deviceProductId + 1);
  EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbInterface), 1);
  EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbDevice), 1);
  LibusbStack other({0x1234, 0x5678});
  std::uint16_t product = 0;
  EXPECT_EQ(StackUser(other).count(ServiceKind::usbDevice), 1);
  EXPECT_EQ(StackUser(other).device()->getDeviceProduct(&product), kIOReturnSuccess);
  EXPECT_EQ(product, 0x5678);
}

TEST_F(UsbfsRegistry, ListsByBusAndPortPath) {
  plugIn();
  usbfs_->addNeighbour(1, "2.1", 0x1234, 0x5678);  // a hub
  for (const auto& [bus, ports] :
       {std::pair{2, "1"}, {1, "3"}, {1, "2.4"}, {1, "2.1.7"}, {1, "12"}, {1, "2"}})
    usbfs_->addNeighbour(bus, ports, deviceVendorId, deviceProductId);
  std::vector<std::uint32_t> locations;
  for (int n = 0; n < StackUser(*stack_).count(ServiceKind::usbDevice); ++n)
    locations.push_back(locationOf(n));
  EXPECT_THAT(locations, ElementsAre(0x01100000, 0x01200000, 0x01217000, 0x01240000, 0x01300000, 0x01C00000,
                                     0x02100000));
}

TEST_F(UsbfsRegistry, ListsOnlyWhatIsPluggedInWhereItWasToldToLook) {
  plugIn();
  usbfs_->addNeighbour(1, "2", deviceVendorId, deviceProductId);
  usbfs_->addNeighbour(1, "3", 0x1234, 0x5678);
  for (const std::uint32_t location : {0x01100000U, 0x01200000U}) {
    stack_ = std::make_unique<LibusbStack>(LibusbStack::configuredIdentity(), location);
    EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbInterface), 1);
    EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbDevice), 1);
    EXPECT_EQ(locationOf(0), location);
  }
  for (const std::uint32_t location : {0x01300000U, 0x01400000U, 0x02100000U, 0U}) {
    stack_ = std::make_unique<LibusbStack>(LibusbStack::configuredIdentity(), location);
    EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbInterface), 0) << "another identity, or nothing";
  }
}

TEST_F(UsbfsRegistry, OpensTheChosenScannerOfTwo) {
  plugIn();
  usbfs_->addNeighbour(1, "2", deviceVendorId, deviceProductId);
  stack_ = std::make_unique<LibusbStack>(LibusbStack::configuredIdentity(), 0x01200000);
  EXPECT_EQ(StackUser(*stack_).interface()->open(), kIOReturnSuccess);
  EXPECT_EQ(usbfs_->statistics().calls, 0U) << "the first one was left alone";
  stack_ = std::make_unique<LibusbStack>(LibusbStack::configuredIdentity(), 0x01100000);
  open();
  EXPECT_EQ(write(exitCall()), kIOReturnSuccess);
  EXPECT_THAT(*calls_, ElementsAre("system.exitHostUSBSendMode"));
}

TEST_F(UsbfsRegistry, FindsTheChosenScannerWhereItIsPluggedInAgain) {
  plugIn();
  stack_ = std::make_unique<LibusbStack>(LibusbStack::configuredIdentity(), 0x01100000);
  usbfs_->unplug();
  EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbInterface), 0);
  usbfs_->plugIn();
  EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbInterface), 1);
}

TEST_F(UsbfsRegistry, RefusesNumbersThatItDidNotHandOut) {
  plugIn();
  IOObject iterator = 77;
  PlugInInterface* none = nullptr;
  EXPECT_EQ(stack_->matchingServices(1, {ServiceKind::usbDevice}, &iterator), kIOReturnBadArgument)
      << "before anyone asked for the port";
  MachPort port = 0;
  EXPECT_EQ(stack_->masterPort(&port), kIOReturnSuccess);
  EXPECT_EQ(stack_->matchingServices(99, {ServiceKind::usbDevice}, &iterator), kIOReturnBadArgument);
  EXPECT_EQ(iterator, 77U);
  EXPECT_EQ(stack_->iteratorNext(99), 0U);
  EXPECT_EQ(stack_->createPlugInInterfaceForService(99, ServiceKind::usbDevice, &none), kIOReturnBadArgument);
  EXPECT_EQ(none, nullptr);
  stack_->objectRelease(99);
}

TEST_F(UsbfsRegistry, GoesWithWhatNobodyReleased) {
  plugIn();
  EXPECT_NE(StackUser(*stack_).service(ServiceKind::usbInterface), 0U);
  stack_.reset();  // the leak checker notices what is left
}

TEST_F(UsbfsRegistry, LeavesAnInterfaceAloneThatAKernelDriverHolds) {
  plugIn({.kernelDriver = true});
  RecordingLogSink log;
  EXPECT_EQ(StackUser(*stack_).interface()->open(), kIOReturnExclusiveAccess);
  EXPECT_THAT(
      log.lines,
      ElementsAre(
          "interface 0 of the scanner /dev/bus/usb/001/002 is held by a kernel driver and left alone"));
  EXPECT_EQ(openNodes(), 0U);
}

TEST_F(UsbfsRegistry, TellsThatAnotherProgramHasTheScanner) {
  plugIn({.inUse = true});
  RecordingLogSink log;
  EXPECT_EQ(StackUser(*stack_).interface()->open(), kIOReturnExclusiveAccess);
  EXPECT_THAT(log.lines, ElementsAre("the scanner /dev/bus/usb/001/002 is in use by another program"));
  EXPECT_EQ(openNodes(), 0U);
}

TEST_F(UsbfsRegistry, TellsWhatToDoWhereAccessIsDenied) {
  plugIn({.forbidden = true});
  const auto interface = StackUser(*stack_).interface();
  const auto device = StackUser(*stack_).device();
  RecordingLogSink log;
  if (geteuid() == 0) setfsuid(65534);
  EXPECT_EQ(interface->open(), kIOReturnNotPermitted);
  EXPECT_EQ(device->open(), kIOReturnNotPermitted);
  if (geteuid() == 0) setfsuid(0);
  const std::string advice =
      "no permission to use the scanner /dev/bus/usb/001/002: install its udev rule and plug it in again";
  EXPECT_THAT(log.lines, ElementsAre(advice, advice));
}

TEST_F(UsbfsRegistry, ForgetsADeviceThatIsUnpluggedAndFindsItAgain) {
  plugIn();
  const std::uint32_t location = locationOf(0);
  for (int round = 0; round < 3; ++round) {
    open();
    usbfs_->unplug();
    EXPECT_EQ(StackUser(*stack_).count(ServiceKind::usbDevice), 0);
    EXPECT_EQ(interface_->open(), kIOReturnExclusiveAccess) << "still open, for what it is worth";
    EXPECT_EQ(interface_->close(), kIOReturnNoDevice);
    EXPECT_EQ(interface_->open(), kIOReturnNoDevice);
    EXPECT_EQ(openNodes(), 0U);
    usbfs_->plugIn();
    EXPECT_EQ(interface_->open(), kIOReturnNoDevice) << "that was another plugging-in";
    EXPECT_EQ(locationOf(0), location);
  }
  open();
  EXPECT_EQ(write(exitCall()), kIOReturnSuccess);
}

TEST_F(UsbfsRegistry, ClosesWhatIsReleasedWhileOpen) {
  plugIn();
  open();
  EXPECT_EQ(openNodes(), 1U);
  interface_.reset();
  EXPECT_EQ(openNodes(), 0U);
  auto device = StackUser(*stack_).device();
  EXPECT_EQ(device->open(), kIOReturnSuccess);
  EXPECT_EQ(openNodes(), 1U);
  device.reset();
  EXPECT_EQ(openNodes(), 0U);
}

}  // namespace
