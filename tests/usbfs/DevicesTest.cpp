#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DeviceIdentity.h"
#include "LibusbDevices.h"
#include "OtherUser.h"
#include "UsbfsHost.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using Access = AttachedDevice::Access;

class UsbfsDevices : public UsbfsHost {
 protected:
  static std::vector<AttachedDevice> attached() {
    const LibusbDevices::List list = LibusbDevices().attached();
    EXPECT_EQ(list.failure, "");
    return list.devices;
  }
  static AttachedDevice only() {
    const auto devices = attached();
    EXPECT_EQ(devices.size(), 1U);
    return devices.empty() ? AttachedDevice{} : devices.front();
  }
  static std::vector<std::string> paths() {
    std::vector<std::string> paths;
    for (const auto& device : attached()) paths.push_back(device.path.text());
    return paths;
  }
};

TEST_F(UsbfsDevices, AreToldByPathLocationAndNode) {
  plugIn();
  const auto device = only();
  EXPECT_EQ(device.path.text(), "1-1");
  EXPECT_EQ(device.path.location(), 0x01100000U);
  EXPECT_EQ(device.node(), "/dev/bus/usb/001/002");
  EXPECT_EQ(device.access, Access::granted);
}

TEST_F(UsbfsDevices, AreThoseOfTheIdentityByBusAndPortPath) {
  plugIn();
  usbfs_->addNeighbour(1, "2", 0x1234, 0x5678);  // a hub
  usbfs_->addNeighbour(1, "3", deviceVendorId, deviceProductId + 1);
  for (const auto& [bus, ports] : {std::pair{2, "1"}, {1, "12"}, {1, "2.10"}, {1, "2.4"}})
    usbfs_->addNeighbour(bus, ports, deviceVendorId, deviceProductId);
  EXPECT_THAT(paths(), ElementsAre("1-1", "1-2.4", "1-2.10", "1-12", "2-1"));
}

TEST_F(UsbfsDevices, MayHangBehindSevenPorts) {
  plugIn();
  for (const char* hub : {"9", "9.8", "9.8.7", "9.8.7.6", "9.8.7.6.5", "9.8.7.6.5.4"})
    usbfs_->addNeighbour(3, hub, 0x1234, 0x5678);
  usbfs_->addNeighbour(3, "9.8.7.6.5.4.3", deviceVendorId, deviceProductId);
  const auto devices = attached();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[1].path.text(), "3-9.8.7.6.5.4.3");
  EXPECT_EQ(devices[1].path.location(), 0x03987654U);
}

TEST_F(UsbfsDevices, AreTheOnesOfThisMoment) {
  plugIn();
  usbfs_->unplug();
  EXPECT_THAT(attached(), IsEmpty());
  usbfs_->plugIn();
  const auto device = only();
  EXPECT_EQ(device.path.text(), "1-1") << "as before";
  EXPECT_EQ(device.node(), "/dev/bus/usb/001/003") << "which changes each time";
}

TEST_F(UsbfsDevices, AreNeitherOpenedNorAskedForAnything) {
  plugIn();
  open();
  const auto before = usbfs_->statistics().calls;
  EXPECT_EQ(only().access, Access::granted) << "though somebody uses it";
  EXPECT_EQ(usbfs_->statistics().calls, before);
  EXPECT_EQ(openNodes(), 1U);
}

TEST_F(UsbfsDevices, TellWhereAccessIsDenied) {
  plugIn({.forbidden = true});
  usbfs_->addNeighbour(1, "2", deviceVendorId, deviceProductId);
  const OtherUser nobody;
  const auto devices = attached();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[0].access, Access::denied);
  EXPECT_EQ(devices[1].access, Access::granted) << "the other one is for everybody";
}

TEST_F(UsbfsDevices, TellWhereThereIsNoNode) {
  plugIn();
  usbfs_->hideNode();
  EXPECT_EQ(only().access, Access::noNode);
}

}  // namespace
