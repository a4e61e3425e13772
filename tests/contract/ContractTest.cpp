#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <span>
#include <utility>

#include "Descriptors.h"
#include "DeviceIdentity.h"
#include "FailingAllocation.h"
#include "StackUser.h"
#include "World.h"

namespace {

using namespace platform;
using virtualscanner::dataEndpoint;
using virtualscanner::FaultKind;
using virtualscanner::ScannerOptions;
using virtualscanner::ZeroLengthPackets;

constexpr std::uint8_t outPipe = 1, replyPipe = 2, dataPipe = 3;
constexpr usb::SetupPacket readConfiguration{usb::fromDevice, usb::getConfiguration, 0, 0, 1};
constexpr usb::SetupPacket vendorRequest{/*to the device, of its vendor*/ 0x40, 1, 0, 0, 0};

// The behaviour required of every USB stack, whatever is behind it.
class UsbContract : public testing::TestWithParam<WorldKind> {
 protected:
  UsbContract() { use({}); }
  ~UsbContract() override {
    if (interface_) interface_->close();
    interface_.reset();
    EXPECT_TRUE(world_->isTidy());
  }
  void use(const ScannerOptions& options) {
    interface_.reset();
    world_.reset();  // first: only one emulated usbfs may exist at a time
    world_ = GetParam().make(options);
  }
  StackUser user() { return StackUser(world_->stack()); }
  void open() {
    interface_ = user().interface();
    ASSERT_EQ(interface_->open(), kIOReturnSuccess);
  }

  IOReturn read(std::uint8_t pipe, std::uint32_t capacity, std::uint32_t noDataMs = 15000,
                std::uint32_t completionMs = 60000) {
    received_.assign(capacity, 0);
    std::uint32_t size = capacity;
    const IOReturn status = interface_->readPipeTO(pipe, received_.data(), &size, noDataMs, completionMs);
    EXPECT_LE(size, capacity);
    received_.resize(size);
    return status;
  }
  IOReturn write(std::uint8_t pipe, const std::vector<std::uint8_t>& bytes, std::uint32_t noDataMs = 15000) {
    return interface_->writePipeTO(pipe, bytes.data(), static_cast<std::uint32_t>(bytes.size()), noDataMs,
                                   60000);
  }
  // The status of every operation but open() and close(), by its name.
  std::map<std::string, IOReturn> everyOperation() {
    std::uint8_t count = 99;
    PipeProperties properties{PipeDirection::in, 77, TransferType::interrupt, 88, 99};
    std::map<std::string, IOReturn> answers{
        {"getNumEndpoints", interface_->getNumEndpoints(&count)},
        {"setAlternateInterface", interface_->setAlternateInterface(0)},
        {"getPipeProperties", interface_->getPipeProperties(dataPipe, &properties)},
        {"abortPipe", interface_->abortPipe(dataPipe)},
        {"resetPipe", interface_->resetPipe(dataPipe)},
        {"clearPipeStallBothEnds", interface_->clearPipeStallBothEnds(dataPipe)},
        {"controlRequest", interface_->controlRequest(0, {usb::clearHaltOf(dataEndpoint), nullptr})},
        {"readPipeTO", read(dataPipe, 512)},
        {"writePipeTO", write(outPipe, {1, 2, 3})}};
    EXPECT_EQ(count, 99) << "untouched";
    EXPECT_EQ(properties.endpointNumber, 77) << "untouched";
    EXPECT_EQ(received_.size(), 0U);
    return answers;
  }
  void expectOfEveryOperation(IOReturn status) {
    for (const auto& [operation, answer] : everyOperation()) EXPECT_EQ(answer, status) << operation;
  }

  std::unique_ptr<World> world_;
  StackUser::Interface interface_;
  std::vector<std::uint8_t> received_;
};

const auto nameOfWorld = [](const auto& kind) { return std::string(kind.param.name); };
INSTANTIATE_TEST_SUITE_P(Over, UsbContract, testing::ValuesIn(allWorlds()), nameOfWorld);

// The stacks with a device model behind them.
class UsbDeviceContract : public UsbContract {};
INSTANTIATE_TEST_SUITE_P(Over, UsbDeviceContract, testing::ValuesIn(worldsWithADevice()), nameOfWorld);

TEST_P(UsbContract, ListsOneServiceOfEachKindWhilePluggedIn) {
  for (const ServiceKind kind : {ServiceKind::usbInterface, ServiceKind::usbDevice}) {
    EXPECT_EQ(user().count(kind), 1);
    world_->unplug();
    EXPECT_EQ(user().count(kind), 0);
    world_->plugIn();
    EXPECT_EQ(user().count(kind), 1);
  }
}

TEST_P(UsbContract, MakesNoObjectOfTheOtherKind) {
  PlugInInterface* none = nullptr;
  const IOObject service = user().service(ServiceKind::usbDevice);
  EXPECT_EQ(world_->stack().createPlugInInterfaceForService(service, ServiceKind::usbInterface, &none),
            kIOReturnUnsupported);
  EXPECT_EQ(none, nullptr);
  world_->stack().objectRelease(service);
  UsbInterface* interface = nullptr;
  EXPECT_EQ(user().plugIn(ServiceKind::usbDevice)->queryInterface(&interface), kIOReturnUnsupported);
  UsbDevice* device = nullptr;
  EXPECT_EQ(user().plugIn(ServiceKind::usbInterface)->queryInterface(&device), kIOReturnUnsupported);
  EXPECT_EQ(interface, nullptr);
  EXPECT_EQ(device, nullptr);
}

TEST_P(UsbContract, TellsTheIdentityOfADeviceOpenOrNot) {
  const auto device = user().device();
  for (int round = 0; round < 2; ++round) {
    std::uint16_t vendor = 0, product = 0;
    EXPECT_EQ(device->getDeviceVendor(&vendor), kIOReturnSuccess);
    EXPECT_EQ(device->getDeviceProduct(&product), kIOReturnSuccess);
    EXPECT_EQ(vendor, deviceVendorId);
    EXPECT_EQ(product, deviceProductId);
    EXPECT_EQ(device->open(), round == 0 ? kIOReturnSuccess : kIOReturnExclusiveAccess);
  }
  EXPECT_EQ(device->close(), kIOReturnSuccess);
  EXPECT_EQ(device->close(), kIOReturnNotOpen);
}

TEST_P(UsbContract, FindsAReplacedDeviceAtTheSameLocation) {
  std::uint32_t before = 0, untouched = 5, after = 0;
  const auto old = user().device();
  EXPECT_EQ(old->getLocationID(&before), kIOReturnSuccess);
  EXPECT_NE(before, 0U);
  world_->unplug();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(old->getLocationID(&untouched), kIOReturnNoDevice);
    EXPECT_EQ(old->open(), kIOReturnNoDevice);
    if (round == 0) world_->plugIn();
  }
  EXPECT_EQ(untouched, 5U);
  EXPECT_EQ(user().device()->getLocationID(&after), kIOReturnSuccess);
  EXPECT_EQ(after, before);
}

TEST_P(UsbContract, GivesAnInterfaceToOneObjectAtATime) {
  open();
  const auto second = user().interface();
  EXPECT_EQ(interface_->open(), kIOReturnExclusiveAccess);
  EXPECT_EQ(second->open(), kIOReturnExclusiveAccess);
  EXPECT_EQ(interface_->close(), kIOReturnSuccess);
  EXPECT_EQ(second->open(), kIOReturnSuccess);
  EXPECT_EQ(second->close(), kIOReturnSuccess);
}

TEST_P(UsbContract, RefusesEverythingOnAnInterfaceThatIsNotOpen) {
  interface_ = user().interface();
  expectOfEveryOperation(kIOReturnNotOpen);
  EXPECT_EQ(interface_->open(), kIOReturnSuccess);
  EXPECT_EQ(interface_->close(), kIOReturnSuccess);
  expectOfEveryOperation(kIOReturnNotOpen);
}

TEST_P(UsbContract, NumbersThePipesInDescriptorOrder) {
  open();
  std::uint8_t count = 0;
  EXPECT_EQ(interface_->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 3);
  PipeProperties pipes[5] = {};
  for (std::uint8_t pipe = 0; pipe < 4; ++pipe)
    EXPECT_EQ(interface_->getPipeProperties(pipe, &pipes[pipe]), kIOReturnSuccess);
  EXPECT_EQ(pipes[0].transferType, TransferType::control);
  EXPECT_EQ(pipes[0].maxPacketSize, 64);
  EXPECT_EQ(pipes[outPipe].direction, PipeDirection::out);
  EXPECT_EQ(pipes[outPipe].endpointNumber, 2);
  EXPECT_EQ(pipes[replyPipe].endpointNumber, 11);
  EXPECT_EQ(pipes[dataPipe].direction, PipeDirection::in);
  EXPECT_EQ(pipes[dataPipe].endpointNumber, 8);
  EXPECT_EQ(pipes[dataPipe].transferType, TransferType::bulk);
  EXPECT_EQ(pipes[dataPipe].maxPacketSize, 512);
}

TEST_P(UsbContract, KnowsNoOtherPipes) {
  open();
  for (const std::uint8_t pipe : {std::uint8_t{4}, std::uint8_t{255}}) {
    PipeProperties properties{};
    EXPECT_EQ(interface_->getPipeProperties(pipe, &properties), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface_->abortPipe(pipe), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface_->resetPipe(pipe), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface_->clearPipeStallBothEnds(pipe), kIOUSBUnknownPipeErr);
    EXPECT_EQ(interface_->controlRequest(pipe, {usb::clearHaltOf(dataEndpoint), nullptr}),
              kIOUSBUnknownPipeErr);
    EXPECT_EQ(read(pipe, 512), kIOUSBUnknownPipeErr);
    EXPECT_EQ(write(pipe, {1}), kIOUSBUnknownPipeErr);
  }
}

TEST_P(UsbContract, MovesNothingAgainstThePipesDirection) {
  open();
  for (const std::uint8_t pipe : {std::uint8_t{0}, outPipe}) {
    EXPECT_EQ(read(pipe, 512), kIOUSBUnknownPipeErr);
    EXPECT_EQ(received_.size(), 0U);
  }
  for (const std::uint8_t pipe : {std::uint8_t{0}, replyPipe, dataPipe})
    EXPECT_EQ(write(pipe, {1}), kIOUSBUnknownPipeErr);
}

TEST_P(UsbContract, CountsThePipesAnewInAnotherAlternateSetting) {
  ScannerOptions options;
  options.alternateSettings = true;
  use(options);
  open();
  std::uint8_t count = 99;
  EXPECT_EQ(interface_->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(interface_->setAlternateInterface(1), kIOReturnSuccess);
  EXPECT_EQ(interface_->setAlternateInterface(2), kIOReturnNotFound);
  PipeProperties last{};
  EXPECT_EQ(interface_->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 13) << "the setting that does not exist changed nothing";
  EXPECT_EQ(interface_->getPipeProperties(13, &last), kIOReturnSuccess);
  EXPECT_EQ(last.transferType, TransferType::interrupt);
  EXPECT_EQ(interface_->getPipeProperties(14, &last), kIOUSBUnknownPipeErr);
  EXPECT_EQ(interface_->close(), kIOReturnSuccess);
  EXPECT_EQ(interface_->open(), kIOReturnSuccess);
  EXPECT_EQ(interface_->getNumEndpoints(&count), kIOReturnSuccess);
  EXPECT_EQ(count, 0) << "open is setting 0";
}

TEST_P(UsbContract, ReadsWhatTheDeviceSendsInOrder) {
  open();
  const auto stream = world_->startStream();
  std::vector<std::uint8_t> all;
  while (all.size() < stream.size()) {
    ASSERT_EQ(read(dataPipe, 16384), kIOReturnSuccess);
    EXPECT_EQ(received_.size(), std::min<std::size_t>(16384, stream.size() - all.size()));
    all.insert(all.end(), received_.begin(), received_.end());
  }
  EXPECT_EQ(all, stream);
}

TEST_P(UsbContract, EndsAReadWithTheTransferOfTheDevice) {
  ScannerOptions options;
  options.transferBytes = 1000;
  use(options);
  open();
  const auto stream = world_->startStream();
  for (std::size_t at = 0; at < stream.size(); at += 1000) {
    ASSERT_EQ(read(dataPipe, 102400), kIOReturnSuccess);
    EXPECT_EQ(received_.size(), std::min<std::size_t>(1000, stream.size() - at));
  }
}

TEST_P(UsbContract, TimesAReadOutByTheShorterLimitAndGoesOnAfterwards) {
  open();
  for (const auto& [noData, completion] : {std::pair{20U, 60000U}, {60000U, 20U}, {20U, 0U}, {0U, 20U}}) {
    EXPECT_EQ(read(dataPipe, 102400, noData, completion), kIOUSBTransactionTimeout);
    EXPECT_EQ(received_.size(), 0U);
  }
  const auto stream = world_->startStream();
  EXPECT_EQ(read(dataPipe, 102400), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbContract, WritesEveryByte) {
  open();
  const auto packet = exitCall();
  EXPECT_EQ(write(outPipe, packet), kIOReturnSuccess);
  EXPECT_TRUE(world_->received(packet));
}

TEST_P(UsbContract, StallsAPipeUntilBothItsEndsAreCleared) {
  open();
  const auto stream = world_->startStream();
  world_->haltNext(dataPipe);
  for (int tries = 0; tries < 2; ++tries) {
    EXPECT_EQ(read(dataPipe, 16384), kIOUSBPipeStalled);
    EXPECT_EQ(received_.size(), 0U);
  }
  EXPECT_EQ(interface_->resetPipe(dataPipe), kIOReturnSuccess);
  EXPECT_EQ(read(dataPipe, 16384), kIOUSBPipeStalled) << "the device's side is halted still";
  EXPECT_EQ(write(outPipe, exitCall()), kIOReturnSuccess) << "other pipes are not";
  EXPECT_EQ(interface_->clearPipeStallBothEnds(dataPipe), kIOReturnSuccess);
  EXPECT_EQ(read(dataPipe, 16384), kIOReturnSuccess);
  EXPECT_TRUE(std::equal(received_.begin(), received_.end(), stream.begin()));
}

TEST_P(UsbContract, StallsWritesToo) {
  open();
  world_->haltNext(outPipe);
  const auto packet = exitCall();
  EXPECT_EQ(write(outPipe, packet), kIOUSBPipeStalled);
  EXPECT_EQ(interface_->clearPipeStallBothEnds(outPipe), kIOReturnSuccess);
  EXPECT_EQ(write(outPipe, packet), kIOReturnSuccess);
  EXPECT_TRUE(world_->received(packet));
}

TEST_P(UsbContract, ClearsAndAbortsPipesWithNothingToClearOrAbort) {
  open();
  for (std::uint8_t pipe = 0; pipe < 4; ++pipe) {
    EXPECT_EQ(interface_->abortPipe(pipe), kIOReturnSuccess);
    EXPECT_EQ(interface_->resetPipe(pipe), kIOReturnSuccess);
    EXPECT_EQ(interface_->clearPipeStallBothEnds(pipe), kIOReturnSuccess);
  }
  const auto stream = world_->startStream();
  EXPECT_EQ(read(dataPipe, 102400), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbContract, EndsEverythingOfAnUnpluggedDevice) {
  open();
  world_->startStream();
  world_->unplug();
  expectOfEveryOperation(kIOReturnNoDevice);
  world_->plugIn();
  expectOfEveryOperation(kIOReturnNoDevice);
  EXPECT_EQ(interface_->close(), kIOReturnNoDevice);
  EXPECT_EQ(interface_->open(), kIOReturnNoDevice);
}

TEST_P(UsbContract, WorksAfterPluggingInAgainWhileTheOldInterfaceIsOpenStill) {
  open();
  const auto old = std::exchange(interface_, nullptr);
  world_->unplug();
  world_->plugIn();
  open();
  const auto packet = exitCall();
  EXPECT_EQ(write(outPipe, packet), kIOReturnSuccess);
  EXPECT_TRUE(world_->received(packet));
  EXPECT_EQ(old->close(), kIOReturnNoDevice);
  EXPECT_EQ(interface_->abortPipe(dataPipe), kIOReturnSuccess) << "none of the new one's business";
}

// One use of a stack from end to end, which gives everything back: the status of the first step that failed.
// Allocates nothing itself.
IOReturn useOnce(UsbStack& stack, std::span<const std::uint8_t> packet) {
  StackUser user(stack);
  const StackUser::Interface interface = user.interface();
  if (!interface) return user.status;
  std::uint8_t data[512];
  std::uint32_t size = sizeof data;
  PipeProperties properties{};
  IOReturn status = interface->open();
  const auto next = [&status](IOReturn answer) { status = status == kIOReturnSuccess ? answer : status; };
  next(interface->getPipeProperties(dataPipe, &properties));
  next(interface->controlRequest(0, {readConfiguration, data}));
  next(interface->writePipeTO(outPipe, packet.data(), static_cast<std::uint32_t>(packet.size()), 15000,
                              60000));
  const IOReturn read = interface->readPipeTO(dataPipe, data, &size, 1, 1);
  next(read == kIOUSBTransactionTimeout ? kIOReturnSuccess : read);
  next(interface->clearPipeStallBothEnds(dataPipe));
  next(interface->close());
  return status;
}

TEST_P(UsbContract, MeetsEveryAllocationThatFailsWithAStatus) {
  const std::vector<std::uint8_t> packet = exitCall();
  world_->startStream();
  ASSERT_EQ(useOnce(world_->stack(), packet), kIOReturnSuccess);
  int reported = 0;
  for (int n = 1;; ++n) {
    IOReturn status = kIOReturnSuccess;
    bool happened = false;
    {
      const FailingAllocation nth(n);
      status = useOnce(world_->stack(), packet);
      happened = nth.happened();
    }
    if (!happened) break;
    // Where the failing call has no status, no service is found; a release and the device itself
    // hide a failure.
    EXPECT_THAT(status, testing::AnyOf(kIOReturnSuccess, kIOReturnNoMemory, kIOReturnNotFound)) << n;
    if (status == kIOReturnNoMemory) ++reported;
    EXPECT_TRUE(world_->isTidy()) << "allocation " << n;
  }
  EXPECT_GT(reported, 2) << "registry, plug-in and interface at least";
  EXPECT_EQ(useOnce(world_->stack(), packet), kIOReturnSuccess);
}

TEST_P(UsbDeviceContract, ClosesWhatIsReleasedWhileOpen) {
  open();
  interface_.reset();
  open();
}

TEST_P(UsbDeviceContract, PassesControlRequestsToTheDevice) {
  open();
  std::uint8_t data[usb::device::size] = {};
  EXPECT_EQ(interface_->controlRequest(0, {usb::readDescriptor(usb::deviceDescriptor, 0, sizeof data), data}),
            kIOReturnSuccess);
  EXPECT_EQ(data[0], usb::device::size);
  EXPECT_EQ(usb::read16(data + usb::device::vendorAt), deviceVendorId);
  EXPECT_EQ(interface_->controlRequest(0, {vendorRequest, nullptr}), kIOUSBPipeStalled);
  EXPECT_EQ(interface_->controlRequest(0, {readConfiguration, data}), kIOReturnSuccess) << "the halt is over";
  EXPECT_EQ(data[0], 1);
}

TEST_P(UsbDeviceContract, EndsAReadWithAZeroLengthPacketOrWithSilence) {
  for (const auto packets : {ZeroLengthPackets::whenNeeded, ZeroLengthPackets::never}) {
    ScannerOptions options;
    options.transferBytes = 1024;
    options.zeroLengthPackets = packets;
    use(options);
    open();
    const auto stream = world_->startStream();
    const bool visible = packets == ZeroLengthPackets::whenNeeded;
    EXPECT_EQ(read(dataPipe, 102400, 20), kIOReturnSuccess);
    EXPECT_EQ(received_.size(), visible ? 1024 : stream.size()) << "one transfer, or all";
  }
}

TEST_P(UsbDeviceContract, GivesTheZeroLengthPacketBehindAFullReadToTheNextOne) {
  ScannerOptions options;
  options.transferBytes = 1024;
  use(options);
  open();
  world_->startStream();
  for (const std::size_t expected : {1024U, 0U, 1024U, 0U}) {
    EXPECT_EQ(read(dataPipe, 1024), kIOReturnSuccess);
    EXPECT_EQ(received_.size(), expected);
  }
}

TEST_P(UsbDeviceContract, TellsAPacketTooLargeForTheRoomWithWhatMoved) {
  open();
  const auto stream = world_->startStream();
  EXPECT_EQ(read(dataPipe, 612), kIOReturnOverrun);
  EXPECT_EQ(received_.size(), 612U);
  EXPECT_TRUE(std::equal(received_.begin(), received_.end(), stream.begin()));
  EXPECT_EQ(read(dataPipe, 512), kIOReturnSuccess);
}

TEST_P(UsbDeviceContract, TimesAWriteOutThatTheDeviceTakesInPart) {
  ScannerOptions options;
  options.faults = {{FaultKind::shortWrite, 1}};
  use(options);
  open();
  const auto packet = exitCall();
  EXPECT_EQ(write(outPipe, packet, 20), kIOUSBTransactionTimeout);
  EXPECT_EQ(write(outPipe, packet, 20), kIOReturnSuccess);
  EXPECT_TRUE(world_->received(packet));
}

TEST_P(UsbDeviceContract, LosesTheDeviceAmidATransfer) {
  ScannerOptions options;
  options.faults = {{FaultKind::unplug, 2}};
  use(options);
  open();
  EXPECT_EQ(write(outPipe, exitCall()), kIOReturnSuccess);
  EXPECT_EQ(read(replyPipe, 512), kIOReturnNoDevice);
  EXPECT_EQ(write(outPipe, exitCall()), kIOReturnNoDevice);
}

}  // namespace
