#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "DeviceIdentity.h"
#include "OtherUser.h"
#include "ScannerList.h"
#include "ScannerName.h"
#include "TemporaryFolder.h"
#include "UsbfsHost.h"

namespace {

using namespace frontend;
using platform::deviceProductId;
using platform::deviceVendorId;
using testing::ElementsAre;
using testing::IsEmpty;

// The scanners as a worker lists them, on the emulated USB.
class ListedScanners : public UsbfsHost {
 protected:
  ListedScanners() {
    setenv("LD_PRELOAD", Q750_PRELOAD, 1);
    // Where another user can run it, wherever this was built.
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
    std::filesystem::copy_file(Q750_WORKER, worker_);
  }
  ~ListedScanners() override { unsetenv("LD_PRELOAD"); }

  ScannerList list(bool withVirtual = false) const {
    ScannerSearch search(worker_);
    return listScanners(search, withVirtual);
  }
  std::vector<std::string> names(bool withVirtual = false) const {
    std::vector<std::string> names;
    for (const ScannerEntry& entry : list(withVirtual).scanners) names.push_back(entry.name);
    return names;
  }
  ScannerEntry first() const {
    const auto scanners = list().scanners;
    EXPECT_FALSE(scanners.empty());
    return scanners.empty() ? ScannerEntry{} : scanners.front();
  }

 private:
  TemporaryFolder folder_;
  std::string worker_ = folder_ / "q750-worker";
};

TEST_F(ListedScanners, TellsWhatPeopleWantToKnow) {
  plugIn();
  const auto [scanners, outcome] = list(true);
  EXPECT_TRUE(outcome.good()) << outcome.sentence;
  ASSERT_EQ(scanners.size(), 2U);
  for (const ScannerEntry& entry : scanners) {
    EXPECT_EQ(entry.vendor, "Quenvar");
    EXPECT_TRUE(entry.accessible);
    EXPECT_EQ(entry.hint, "");
  }
  EXPECT_EQ(scanners[0].name, "usb:1-1");
  EXPECT_EQ(scanners[0].model, "Q750");
  EXPECT_EQ(scanners[0].type, "flatbed scanner");
  EXPECT_FALSE(scanners[0].isVirtual);
  EXPECT_EQ(scanners[1].name, "virtual");
  EXPECT_EQ(scanners[1].model, "Q750 (virtual)");
  EXPECT_EQ(scanners[1].type, "virtual device");
  EXPECT_TRUE(scanners[1].isVirtual);
}

TEST_F(ListedScanners, HasTheRealOnesFirstByBusAndPort) {
  plugIn();
  usbfs_->addNeighbour(1, "2", 0x1234, 0x5678);  // a hub
  for (const auto& [bus, ports] : {std::pair{2, "1"}, {1, "12"}, {1, "2.10"}, {1, "2.4"}})
    usbfs_->addNeighbour(bus, ports, deviceVendorId, deviceProductId);
  EXPECT_THAT(names(true),
              ElementsAre("usb:1-1", "usb:1-2.4", "usb:1-2.10", "usb:1-12", "usb:2-1", "virtual"));
}

TEST_F(ListedScanners, IsAsNewAsTheQuestion) {
  plugIn();
  usbfs_->unplug();
  EXPECT_THAT(names(), IsEmpty());
  EXPECT_THAT(names(true), ElementsAre("virtual"));
  usbfs_->plugIn();
  EXPECT_THAT(names(), ElementsAre("usb:1-1")) << "the name of before";
}

TEST_F(ListedScanners, LeavesTheScannersInPeace) {
  plugIn();
  list(true);
  EXPECT_EQ(usbfs_->statistics().calls, 0U);
}

TEST_F(ListedScanners, SaysWhatToDoWhereAccessIsDenied) {
  plugIn({.forbidden = true});
  const OtherUser nobody;
  EXPECT_FALSE(first().accessible);
  EXPECT_EQ(first().hint,
            "You do not have permission to use /dev/bus/usb/001/002. If the scanner's udev rule is not "
            "installed yet, install the driver package and replug the scanner; otherwise join the group "
            "scanner and log in again.");
}

TEST_F(ListedScanners, SaysWhatToDoInAContainer) {
  plugIn();
  usbfs_->hideNode();
  EXPECT_FALSE(first().accessible);
  EXPECT_EQ(first().hint,
            "/dev/bus/usb/001/002 is not visible to this program, which seems to run in a container or a "
            "sandbox: allow it to access USB devices.");
}

// An unprivileged user cannot set up the emulation's hotplug events, since it may write nowhere
// below the emulation.
TEST_F(ListedScanners, TellsWhyThereIsNoUsbAtAll) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  plugIn();
  const OtherUser nobody;
  const auto [scanners, outcome] = list(true);
  EXPECT_THAT(scanners, testing::SizeIs(1)) << "the virtual one";
  EXPECT_EQ(outcome.status, ScanStatus::noDevice);
  EXPECT_EQ(outcome.sentence, "USB cannot be used: Other error");
  EXPECT_THAT(list(false).scanners, IsEmpty());
}

TEST_F(ListedScanners, NamesLeadToTheScannersThatTheyName) {
  plugIn();
  usbfs_->addNeighbour(1, "2", deviceVendorId, deviceProductId);
  for (const std::string& name : names()) {
    platform::LibusbStack stack(platform::LibusbStack::configuredIdentity(),
                                parseScannerName(name)->location);
    EXPECT_EQ(StackUser(stack).count(platform::ServiceKind::usbDevice), 1) << name;
  }
  platform::LibusbStack any(platform::LibusbStack::configuredIdentity(), parseScannerName("usb")->location);
  EXPECT_EQ(StackUser(any).count(platform::ServiceKind::usbDevice), 2);
}

TEST(ScannerNames, SayWhichScannerIsMeant) {
  EXPECT_EQ(parseScannerName("virtual"), (ScannerName{true, std::nullopt}));
  EXPECT_EQ(parseScannerName("usb"), (ScannerName{false, std::nullopt}));
  EXPECT_EQ(parseScannerName("usb:1-2.3"), (ScannerName{false, 0x01230000}));
  EXPECT_EQ(parseScannerName("usb:3-9.8.7.6.5.4.3"), (ScannerName{false, 0x03987654}));
}

TEST(ScannerNames, AreNothingElse) {
  for (const char* name : {"", "Virtual", "virtual ", "virtual:1", "usb:", "usb:virtual", "usb1-2", "USB:1-2",
                           "usb: 1-2", "usb:1-2.3:1.0", "usb:1", "libusb:001:002", "q750"})
    EXPECT_EQ(parseScannerName(name), std::nullopt) << name;
}

// Today's hubs have at most 15 ports, and a system has at most as many buses as fit a byte.
TEST(ScannerNames, StayBelow32Characters) {
  const std::string longest = "usb:255-15.15.15.15.15.15.15";
  EXPECT_TRUE(parseScannerName(longest));
  EXPECT_LT(longest.size(), 32U);
}

}  // namespace
