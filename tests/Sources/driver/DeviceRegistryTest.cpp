#include "DeviceRegistry.h"
#include "DriverFixture.h"

namespace {

using platform::deviceProductId;
using platform::deviceVendorId;
using platform::kIOReturnError;
using testing::ElementsAre;
using testing::IsEmpty;

class DeviceSearch : public DriverFixture {
 protected:
  void TearDown() override {
    gType1Map.clear();
    EXPECT_THAT(usb.leftovers(), IsEmpty());
    DriverFixture::TearDown();
  }
  void addModel(std::uint32_t location) { usb.addDevice(deviceVendorId, deviceProductId, location); }
};

TEST_F(DeviceSearch, TakesTheStepsInOrderAndStopsBeforeTheNextDevice) {
  addModel(0x14100000);
  addModel(0x14200000);
  EXPECT_EQ(FindDeviceNotOnMap(), 0x14100000U);
  EXPECT_THAT(usb.calls(),
              ElementsAre("masterPort()", "serviceMatching(usbDevice)", "matchingServices(usbDevice)",
                          "iteratorNext()", "createPlugInInterfaceForService(service 1, usbDevice)",
                          "plugIn 1.queryInterface(usbDevice)", "plugIn 1.release()", "device 1.open()",
                          "device 1.getDeviceVendor()", "device 1.getDeviceProduct()",
                          "device 1.getLocationID()", "device 1.close()", "device 1.release()",
                          "objectRelease(service 1)", "objectRelease(iterator)", "portDeallocate()"));
}

TEST_F(DeviceSearch, PassesOverOtherMakersAndModels) {
  usb.addDevice(deviceVendorId ^ 1, deviceProductId, 1);
  usb.addDevice(deviceVendorId, deviceProductId ^ 2, 2);
  addModel(3);
  EXPECT_EQ(FindDeviceNotOnMap(), 3U);
  EXPECT_THAT(usb.calls(), testing::Not(testing::Contains("device 1.getDeviceProduct()")));
  EXPECT_THAT(usb.calls(), testing::Not(testing::Contains("device 2.getLocationID()")));
}

TEST_F(DeviceSearch, FindsNothingWhereThereIsNothing) {
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
  plugScannerIn();  // an interface is no device
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
}

TEST_F(DeviceSearch, PassesOverRegisteredDevices) {
  addModel(10);
  addModel(20);
  gType1Map[10] = nullptr;
  EXPECT_EQ(FindDeviceNotOnMap(), 20U);
}

TEST_F(DeviceSearch, ReturnsTheLastRegisteredDeviceWhereAllAreRegistered) {
  addModel(10);
  addModel(20);
  usb.addDevice(1, 2, 30);
  gType1Map[10] = nullptr;
  gType1Map[20] = nullptr;
  EXPECT_EQ(FindDeviceNotOnMap(), 20U);
}

TEST_F(DeviceSearch, GivesUpWithoutAPortOrADictionary) {
  addModel(10);
  usb.failNext("masterPort", kIOReturnError);
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
  EXPECT_THAT(usb.calls(), ElementsAre("masterPort()"));
  usb.forgetCalls();
  usb.failNext("serviceMatching", kIOReturnError);
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
  EXPECT_THAT(usb.calls(), ElementsAre("masterPort()", "serviceMatching(usbDevice)", "portDeallocate()"));
}

TEST_F(DeviceSearch, GoesOnToTheNextDeviceWhereAnyStepFails) {
  for (const char* step : {"createPlugIn", "plugIn 1.query", "device 1.open", "device 1.getDeviceVendor",
                           "device 1.getDeviceProduct", "device 1.getLocationID"}) {
    fakes::ScriptedUsbStack other;
    const fakes::ChosenUsbStack use(other);
    other.addDevice(deviceVendorId, deviceProductId, 10);
    other.addDevice(deviceVendorId, deviceProductId, 20);
    other.failNext(step, kIOReturnError);
    EXPECT_EQ(FindDeviceNotOnMap(), 20U) << step;
    EXPECT_THAT(other.leftovers(), IsEmpty()) << step;
    EXPECT_THAT(other.misuse(), IsEmpty()) << step;
  }
}

TEST_F(DeviceSearch, ClosesADeviceThatDidNotOpenTooAndAsksItNothing) {
  addModel(10);
  usb.failNext("device 1.open", platform::kIOReturnExclusiveAccess);
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
  EXPECT_THAT(usb.calls(),
              ElementsAre("masterPort()", "serviceMatching(usbDevice)", "matchingServices(usbDevice)",
                          "iteratorNext()", "createPlugInInterfaceForService(service 1, usbDevice)",
                          "plugIn 1.queryInterface(usbDevice)", "plugIn 1.release()", "device 1.open()",
                          "device 1.close()", "device 1.release()", "objectRelease(service 1)",
                          "iteratorNext()", "objectRelease(iterator)", "portDeallocate()"));
}

TEST_F(DeviceSearch, TakesNullObjectsForFailures) {
  addModel(10);
  addModel(20);
  usb.answerNull("createPlugIn");
  usb.answerNull("plugIn 2.query");
  EXPECT_EQ(FindDeviceNotOnMap(), 0U);
}

TEST_F(DeviceSearch, NothingEverRegisters) {
  openScanner();
  EXPECT_THAT(gType1Map, IsEmpty());
  driver.reset();
}

}  // namespace
