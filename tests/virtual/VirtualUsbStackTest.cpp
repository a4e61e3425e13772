#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "DeviceHost.h"
#include "DeviceIdentity.h"
#include "VirtualUsbStack.h"

namespace virtualscanner {
namespace {

using namespace platform;

constexpr std::uint8_t outPipe = 1, replyPipe = 2, dataPipe = 3;
constexpr usb::SetupPacket readConfiguration{usb::fromDevice, usb::getConfiguration, 0, 0, 1};
constexpr usb::SetupPacket vendorRequest{/*to the device, of its vendor*/ 0x40, 1, 0, 0, 0};

class VirtualUsbStack : public testing::Test {
 protected:
  void use(ScannerOptions options) {
    stack_.reset();
    scanner_ = std::make_unique<VirtualScanner>(Paper::testChart(), std::move(options));
    stack_ = std::make_unique<virtualscanner::VirtualUsbStack>(*scanner_);
  }

  // How many services there are, all of them released.
  int countServices(ServiceKind kind) {
    MachPort port = 0;
    IOObject iterator = 0;
    EXPECT_EQ(stack_->masterPort(&port), kIOReturnSuccess);
    EXPECT_EQ(stack_->matchingServices(port, *stack_->serviceMatching(kind), &iterator), kIOReturnSuccess);
    int count = 0;
    while (const IOObject service = stack_->iteratorNext(iterator)) {
      ++count;
      stack_->objectRelease(service);
    }
    stack_->objectRelease(iterator);
    stack_->portDeallocate(port);
    return count;
  }

  // The first service of a kind; the caller releases it.
  IOObject findService(ServiceKind kind) {
    MachPort port = 0;
    IOObject iterator = 0;
    stack_->masterPort(&port);
    stack_->matchingServices(port, MatchingDictionary{kind}, &iterator);
    const IOObject service = stack_->iteratorNext(iterator);
    stack_->objectRelease(iterator);
    stack_->portDeallocate(port);
    return service;
  }

  template <typename Object>
  Object* obtain(ServiceKind kind) {
    const IOObject service = findService(kind);
    PlugInInterface* plugIn = nullptr;
    Object* object = nullptr;
    EXPECT_EQ(stack_->createPlugInInterfaceForService(service, kind, &plugIn), kIOReturnSuccess);
    stack_->objectRelease(service);
    EXPECT_EQ(plugIn->queryInterface(&object), kIOReturnSuccess);
    plugIn->release();
    return object;
  }
  UsbInterface* obtainInterface() { return obtain<UsbInterface>(ServiceKind::usbInterface); }
  UsbDevice* obtainDevice() { return obtain<UsbDevice>(ServiceKind::usbDevice); }
  UsbInterface* openInterface() {
    UsbInterface* interface = obtainInterface();
    EXPECT_EQ(interface->open(), kIOReturnSuccess);
    return interface;
  }

  IOReturn read(UsbInterface* interface, std::uint8_t pipe, std::uint32_t capacity,
                std::uint32_t noData = 15000, std::uint32_t completion = 60000) {
    received_.assign(capacity, 0);
    size_ = capacity;
    return interface->readPipeTO(pipe, received_.data(), &size_, noData, completion);
  }
  IOReturn writeCall(UsbInterface* interface, const std::string& object, const std::string& method,
                     const std::vector<DeviceHost::Parameter>& parameters = {}) {
    const auto packet = DeviceHost(*scanner_).framed(object, method, parameters);
    return interface->writePipeTO(outPipe, packet.data(), static_cast<std::uint32_t>(packet.size()), 15000,
                                  60000);
  }

  std::unique_ptr<VirtualScanner> scanner_ = std::make_unique<VirtualScanner>();
  std::unique_ptr<virtualscanner::VirtualUsbStack> stack_ =
      std::make_unique<virtualscanner::VirtualUsbStack>(*scanner_);
  std::vector<std::uint8_t> received_;
  std::uint32_t size_ = 0;
};

TEST_F(VirtualUsbStack, ListsOneServiceOfEachKindWhilePluggedIn) {
  EXPECT_EQ(countServices(ServiceKind::usbInterface), 1);
  EXPECT_EQ(countServices(ServiceKind::usbDevice), 1);
  scanner_->unplug();
  EXPECT_EQ(countServices(ServiceKind::usbInterface), 0);
  EXPECT_EQ(countServices(ServiceKind::usbDevice), 0);
  scanner_->plugIn();
  EXPECT_EQ(countServices(ServiceKind::usbInterface), 1);
  EXPECT_EQ(stack_->unreleased().total(), 0U);
}

TEST_F(VirtualUsbStack, CountsWhatIsNotReleased) {
  MachPort port = 0;
  IOObject iterator = 0;
  PlugInInterface* plugIn = nullptr;
  UsbInterface* interface = nullptr;
  stack_->masterPort(&port);
  stack_->matchingServices(port, MatchingDictionary{ServiceKind::usbInterface}, &iterator);
  const IOObject service = stack_->iteratorNext(iterator);
  stack_->createPlugInInterfaceForService(service, ServiceKind::usbInterface, &plugIn);
  plugIn->queryInterface(&interface);
  UsbDevice* device = obtainDevice();
  const Unreleased all = stack_->unreleased();
  EXPECT_EQ(all.ports, 1U);
  EXPECT_EQ(all.ioObjects, 2U);
  EXPECT_EQ(all.plugIns, 1U);
  EXPECT_EQ(all.interfaces, 1U);
  EXPECT_EQ(all.devices, 1U);
  EXPECT_EQ(all.total(), 6U);
  plugIn->release();
  interface->release();
  device->release();
  stack_->objectRelease(service);
  stack_->objectRelease(iterator);
  stack_->portDeallocate(port);
  EXPECT_EQ(stack_->unreleased().total(), 0U);
}

TEST_F(VirtualUsbStack, FreesWhatIsDroppedTogetherWithItself) {
  obtainDevice()->open();
  openInterface();
  findService(ServiceKind::usbDevice);
  EXPECT_EQ(stack_->unreleased().total(), 3U);
  stack_.reset();  // the leak checker would report it
}

TEST_F(VirtualUsbStack, RefusesNumbersThatItDidNotHandOut) {
  IOObject iterator = 77;
  PlugInInterface* plugIn = nullptr;
  EXPECT_EQ(stack_->matchingServices(99, MatchingDictionary{ServiceKind::usbDevice}, &iterator),
            kIOReturnBadArgument);
  EXPECT_EQ(iterator, 77U);
  EXPECT_EQ(stack_->iteratorNext(99), 0U);
  EXPECT_EQ(stack_->createPlugInInterfaceForService(99, ServiceKind::usbDevice, &plugIn),
            kIOReturnBadArgument);
  EXPECT_EQ(plugIn, nullptr);
  stack_->objectRelease(0);
  stack_->objectRelease(99);
  stack_->portDeallocate(99);
}

TEST_F(VirtualUsbStack, RefusesTheOtherKind) {
  const IOObject service = findService(ServiceKind::usbInterface);
  PlugInInterface* plugIn = nullptr;
  EXPECT_EQ(stack_->createPlugInInterfaceForService(service, ServiceKind::usbDevice, &plugIn),
            kIOReturnUnsupported);
  ASSERT_EQ(stack_->createPlugInInterfaceForService(service, ServiceKind::usbInterface, &plugIn),
            kIOReturnSuccess);
  UsbDevice* device = nullptr;
  EXPECT_EQ(plugIn->queryInterface(&device), kIOReturnUnsupported);
  EXPECT_EQ(device, nullptr);
}

TEST_F(VirtualUsbStack, ReportsTheDevicesIdentity) {
  UsbDevice* device = obtainDevice();
  EXPECT_EQ(device->open(), kIOReturnSuccess);
  std::uint16_t vendor = 0, product = 0;
  std::uint32_t location = 0, locationAfterwards = 0;
  EXPECT_EQ(device->getDeviceVendor(&vendor), kIOReturnSuccess);
  EXPECT_EQ(device->getDeviceProduct(&product), kIOReturnSuccess);
  EXPECT_EQ(device->getLocationID(&location), kIOReturnSuccess);
  EXPECT_EQ(vendor, deviceVendorId);
  EXPECT_EQ(product, deviceProductId);
  EXPECT_NE(location, 0U);
  scanner_->unplug();
  scanner_->plugIn();
  EXPECT_EQ(device->getLocationID(&locationAfterwards), kIOReturnNoDevice);
  EXPECT_EQ(obtainDevice()->getLocationID(&locationAfterwards), kIOReturnSuccess);
  EXPECT_EQ(locationAfterwards, location);
}

TEST_F(VirtualUsbStack, GivesTheDeviceToOneAtATime) {
  UsbDevice* first = obtainDevice();
  UsbDevice* second = obtainDevice();
  EXPECT_EQ(first->open(), kIOReturnSuccess);
  EXPECT_EQ(second->open(), kIOReturnExclusiveAccess);
  EXPECT_EQ(second->close(), kIOReturnNotOpen);
  EXPECT_EQ(first->close(), kIOReturnSuccess);
  EXPECT_EQ(second->open(), kIOReturnSuccess);
  second->release();
  EXPECT_EQ(first->open(), kIOReturnSuccess) << "releasing closes";
}

TEST_F(VirtualUsbStack, GivesTheInterfaceToOneAtATime) {
  UsbInterface* first = openInterface();
  UsbInterface* second = obtainInterface();
  EXPECT_EQ(second->open(), kIOReturnExclusiveAccess);
  EXPECT_EQ(second->close(), kIOReturnNotOpen);
  EXPECT_EQ(first->close(), kIOReturnSuccess);
  EXPECT_EQ(first->close(), kIOReturnNotOpen);
  EXPECT_EQ(second->open(), kIOReturnSuccess);
  second->release();
  EXPECT_EQ(first->open(), kIOReturnSuccess) << "releasing closes";
}

TEST_F(VirtualUsbStack, ListsTheThreePipesOfThePlainDevice) {
  UsbInterface* interface = openInterface();
  std::uint8_t count = 0;
  EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 3);
  const std::tuple<std::uint8_t, PipeDirection, int> pipes[] = {
      {outPipe, PipeDirection::out, 2}, {replyPipe, PipeDirection::in, 11}, {dataPipe, PipeDirection::in, 8}};
  for (const auto& [pipe, direction, endpoint] : pipes) {
    PipeProperties properties{};
    EXPECT_EQ(interface->getPipeProperties(pipe, &properties), kIOReturnSuccess);
    EXPECT_EQ(properties.direction, direction);
    EXPECT_EQ(properties.endpointNumber, endpoint);
    EXPECT_EQ(properties.transferType, TransferType::bulk);
    EXPECT_EQ(properties.maxPacketSize, 512);
  }
  PipeProperties properties{};
  EXPECT_EQ(interface->getPipeProperties(0, &properties), kIOReturnSuccess);
  EXPECT_EQ(properties.transferType, TransferType::control);
  EXPECT_EQ(interface->getPipeProperties(4, &properties), kIOUSBUnknownPipeErr);
}

TEST_F(VirtualUsbStack, Shows13EndpointsInTheVariantsSetting1) {
  ScannerOptions options;
  options.alternateSettings = true;
  use(options);
  UsbInterface* interface = openInterface();
  std::uint8_t count = 99;
  EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(interface->setAlternateInterface(2), kIOReturnNotFound);
  EXPECT_EQ(interface->setAlternateInterface(1), kIOReturnSuccess);
  EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 13);
  PipeProperties properties{};
  EXPECT_EQ(interface->getPipeProperties(13, &properties), kIOReturnSuccess);
  EXPECT_EQ(properties.transferType, TransferType::interrupt);
  EXPECT_EQ(interface->getPipeProperties(14, &properties), kIOUSBUnknownPipeErr);
}

TEST_F(VirtualUsbStack, RefusesEverythingOnAnInterfaceThatIsNotOpen) {
  UsbInterface* interface = obtainInterface();
  std::uint8_t count = 99;
  PipeProperties properties{};
  EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnNotOpen);
  EXPECT_EQ(interface->setAlternateInterface(0), kIOReturnNotOpen);
  EXPECT_EQ(interface->getPipeProperties(1, &properties), kIOReturnNotOpen);
  EXPECT_EQ(interface->abortPipe(1), kIOReturnNotOpen);
  EXPECT_EQ(interface->resetPipe(1), kIOReturnNotOpen);
  EXPECT_EQ(interface->clearPipeStallBothEnds(1), kIOReturnNotOpen);
  EXPECT_EQ(interface->controlRequest(0, {readConfiguration, &count}), kIOReturnNotOpen);
  EXPECT_EQ(read(interface, dataPipe, 512), kIOReturnNotOpen);
  EXPECT_EQ(size_, 0U);
  EXPECT_EQ(interface->writePipeTO(outPipe, "x", 1, 1, 1), kIOReturnNotOpen);
  EXPECT_EQ(count, 99);
  EXPECT_EQ(scanner_->transfers(), 0U);
}

TEST_F(VirtualUsbStack, RefusesPipesOfTheWrongDirectionAndUnknownOnes) {
  UsbInterface* interface = openInterface();
  for (const std::uint8_t pipe : std::initializer_list<std::uint8_t>{0, outPipe, 4, 255}) {
    EXPECT_EQ(read(interface, pipe, 512), kIOUSBUnknownPipeErr) << int{pipe};
    EXPECT_EQ(size_, 0U);
  }
  for (const std::uint8_t pipe : std::initializer_list<std::uint8_t>{0, replyPipe, dataPipe, 4, 255}) {
    EXPECT_EQ(interface->writePipeTO(pipe, "x", 1, 1, 1), kIOUSBUnknownPipeErr) << int{pipe};
  }
  for (const std::uint8_t pipe : std::initializer_list<std::uint8_t>{4, 255}) {
    EXPECT_EQ(interface->abortPipe(pipe), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface->resetPipe(pipe), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface->clearPipeStallBothEnds(pipe), kIOUSBUnknownPipeErr);
  }
  EXPECT_EQ(interface->abortPipe(0), kIOReturnSuccess);
  EXPECT_EQ(interface->controlRequest(1, {usb::clearHaltOf(dataEndpoint), nullptr}), kIOUSBUnknownPipeErr);
  EXPECT_EQ(scanner_->transfers(), 0U);
}

TEST_F(VirtualUsbStack, PassesControlRequestsToTheDevice) {
  UsbInterface* interface = openInterface();
  std::uint8_t data[usb::device::size] = {};
  EXPECT_EQ(interface->controlRequest(0, {usb::readDescriptor(usb::deviceDescriptor, 0, sizeof data), data}),
            kIOReturnSuccess);
  EXPECT_EQ(std::vector<std::uint8_t>(data, data + sizeof data), scanner_->deviceDescriptor());
  EXPECT_EQ(interface->controlRequest(0, {vendorRequest, nullptr}), kIOUSBPipeStalled);
  EXPECT_EQ(interface->controlRequest(0, {readConfiguration, data}), kIOReturnSuccess) << "the halt is over";
}

TEST_F(VirtualUsbStack, MovesBytesBothWays) {
  UsbInterface* interface = openInterface();
  EXPECT_EQ(writeCall(interface, "system", "enterHostUSBSendMode", {DeviceHost::Parameter::tree}),
            kIOReturnSuccess);
  EXPECT_EQ(read(interface, replyPipe, 512), kIOReturnSuccess);
  EXPECT_GT(size_, 8U);
  EXPECT_EQ(received_[0], 0xCC);
  EXPECT_EQ(stack_->nowMs(), 0U) << "nobody had to wait";
}

TEST_F(VirtualUsbStack, LetsTimeOutsPassAtOnceByTheShorterLimit) {
  UsbInterface* interface = openInterface();
  EXPECT_EQ(read(interface, dataPipe, 512, 15000, 60000), kIOUSBTransactionTimeout);
  EXPECT_EQ(size_, 0U);
  EXPECT_EQ(stack_->nowMs(), 15000U);
  EXPECT_EQ(read(interface, dataPipe, 512, 500, 30), kIOUSBTransactionTimeout);
  EXPECT_EQ(stack_->nowMs(), 15030U);
  EXPECT_EQ(read(interface, dataPipe, 512, 0, 70), kIOUSBTransactionTimeout);
  EXPECT_EQ(stack_->nowMs(), 15100U);
  EXPECT_EQ(read(interface, dataPipe, 512, 900, 0), kIOUSBTransactionTimeout);
  EXPECT_EQ(stack_->nowMs(), 16000U);
}

TEST_F(VirtualUsbStack, GivesUpAWaitThatNothingCouldEnd) {
  UsbInterface* interface = openInterface();
  EXPECT_EQ(read(interface, dataPipe, 512, 0, 0), kIOReturnAborted);
  EXPECT_EQ(stack_->nowMs(), 0U);
}

TEST_F(VirtualUsbStack, WaitsOutTheNoDataTimeOutWhereTheStreamEndsWithoutAShortPacket) {
  // 5 packet headers of 8 bytes, an image header of 28 and the pixels: 1024 bytes in all.
  const PageRequest request{75, false, 0, 0, 956, 1};
  for (const auto packets : {ZeroLengthPackets::whenNeeded, ZeroLengthPackets::never}) {
    ScannerOptions options;
    options.zeroLengthPackets = packets;
    use(options);
    UsbInterface* interface = openInterface();
    ASSERT_TRUE(DeviceHost(*scanner_).startJob(request));
    EXPECT_EQ(read(interface, dataPipe, 102400), kIOReturnSuccess);
    EXPECT_EQ(size_, 1024U);
    EXPECT_EQ(stack_->nowMs(), packets == ZeroLengthPackets::never ? 15000U : 0U);
  }
}

TEST_F(VirtualUsbStack, StallsAPipeUntilBothEndsAreClear) {
  ScannerOptions options;
  options.faults = {{FaultKind::stall, 1}};
  use(options);
  UsbInterface* interface = openInterface();
  for (std::uint32_t tries = 1; tries <= 3; ++tries) {
    EXPECT_EQ(read(interface, dataPipe, 512), kIOUSBPipeStalled);
    EXPECT_EQ(size_, 0U);
    EXPECT_EQ(scanner_->transfers(), tries);
  }
  EXPECT_EQ(interface->resetPipe(dataPipe), kIOReturnSuccess);
  EXPECT_EQ(read(interface, dataPipe, 512), kIOUSBPipeStalled) << "the device's side is halted still";
  EXPECT_EQ(interface->controlRequest(0, {usb::clearHaltOf(dataEndpoint), nullptr}), kIOReturnSuccess);
  EXPECT_EQ(read(interface, dataPipe, 512), kIOUSBPipeStalled) << "the host's side is halted still";
  EXPECT_EQ(interface->clearPipeStallBothEnds(dataPipe), kIOReturnSuccess);
  EXPECT_EQ(read(interface, dataPipe, 512), kIOUSBTransactionTimeout);
  EXPECT_EQ(read(interface, replyPipe, 512), kIOUSBTransactionTimeout) << "never touched";
}

TEST_F(VirtualUsbStack, ReportsAPacketTooLargeForTheRoomWithWhatMoved) {
  UsbInterface* interface = openInterface();
  ASSERT_TRUE(DeviceHost(*scanner_).startJob({75, true, 0, 0, 100, 100}));
  EXPECT_EQ(read(interface, dataPipe, 100), kIOReturnOverrun);
  EXPECT_EQ(size_, 100U);
}

TEST_F(VirtualUsbStack, TimesAShortWriteOut) {
  ScannerOptions options;
  options.faults = {{FaultKind::shortWrite, 1}};
  use(options);
  EXPECT_EQ(writeCall(openInterface(), "system", "exitHostUSBSendMode"), kIOUSBTransactionTimeout);
  EXPECT_EQ(stack_->nowMs(), 15000U);
}

TEST_F(VirtualUsbStack, FailsEverythingThatWasObtainedBeforeAnUnplugging) {
  UsbInterface* interface = openInterface();
  UsbDevice* device = obtainDevice();
  const IOObject service = findService(ServiceKind::usbInterface);
  scanner_->unplug();
  for (const char* when : {"while unplugged", "after plugging in again"}) {
    SCOPED_TRACE(when);
    std::uint8_t count = 0;
    std::uint16_t vendor = 0;
    PlugInInterface* plugIn = nullptr;
    EXPECT_EQ(interface->getNumEndpoints(&count), kIOReturnNoDevice);
    EXPECT_EQ(read(interface, dataPipe, 512), kIOReturnNoDevice);
    EXPECT_EQ(interface->writePipeTO(outPipe, "x", 1, 1, 1), kIOReturnNoDevice);
    EXPECT_EQ(device->open(), kIOReturnNoDevice);
    EXPECT_EQ(device->getDeviceVendor(&vendor), kIOReturnNoDevice);
    EXPECT_EQ(stack_->createPlugInInterfaceForService(service, ServiceKind::usbInterface, &plugIn),
              kIOReturnNoDevice);
    scanner_->plugIn();
  }
  UsbInterface* another = openInterface();
  EXPECT_EQ(read(another, dataPipe, 512), kIOUSBTransactionTimeout)
      << "a new one works, the old one still open";
  EXPECT_EQ(read(interface, dataPipe, 512), kIOReturnNoDevice);
  EXPECT_EQ(interface->close(), kIOReturnNoDevice);
  EXPECT_EQ(another->close(), kIOReturnSuccess);
}

TEST_F(VirtualUsbStack, VanishesAtTheTransferOfTheFault) {
  ScannerOptions options;
  options.faults = {{FaultKind::unplug, 2}};
  use(options);
  UsbInterface* interface = openInterface();
  EXPECT_EQ(read(interface, dataPipe, 512), kIOUSBTransactionTimeout);
  EXPECT_EQ(read(interface, dataPipe, 512), kIOReturnNoDevice);
  EXPECT_EQ(countServices(ServiceKind::usbInterface), 0);
}

}  // namespace
}  // namespace virtualscanner
