#include <gtest/gtest.h>

#include <string>

#include "UsbEvents.h"

namespace {

using frontend::share::concernsUsbDevice;

// A message as the kernel sends it: a header and fields, each followed by a zero byte.
std::string message(std::initializer_list<const char*> fields) {
  std::string whole;
  for (const char* field : fields) whole.append(field).push_back('\0');
  return whole;
}

TEST(UsbEventMessages, OfADeviceConcernUs) {
  EXPECT_TRUE(concernsUsbDevice(message({"add@/devices/pci0/usb1/1-2", "ACTION=add", "SUBSYSTEM=usb",
                                         "DEVTYPE=usb_device", "PRODUCT=1209/1/100"})));
  EXPECT_TRUE(concernsUsbDevice(message({"remove@/x", "DEVTYPE=usb_device"}))) << "as the last field";
  EXPECT_TRUE(concernsUsbDevice(std::string("libudev\0\376\355\312\376(\0\0\0(\0\0\0", 20) +
                                message({"ACTION=add", "DEVTYPE=usb_device", "TAGS=:seat:"})))
      << "of udev, with its binary header";
}

TEST(UsbEventMessages, OfAnythingElseDoNot) {
  EXPECT_FALSE(concernsUsbDevice(message({"add@/x", "SUBSYSTEM=usb", "DEVTYPE=usb_interface"})));
  EXPECT_FALSE(concernsUsbDevice(message({"change@/x", "SUBSYSTEM=power_supply"})));
  EXPECT_FALSE(concernsUsbDevice(message({"add@/x", "NAME=DEVTYPE=usb_device"})));
  EXPECT_FALSE(concernsUsbDevice(message({"add@/x", "DEVTYPE=usb_device2"})));
  EXPECT_FALSE(concernsUsbDevice(std::string("add@/x\0DEVTYPE=usb_device", 25))) << "cut short";
  EXPECT_FALSE(concernsUsbDevice(""));
}

}  // namespace
