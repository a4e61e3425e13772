#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>

#include "UsbfsHost.h"

namespace {

using namespace platform;
using virtualscanner::FaultKind;
using virtualscanner::PageRequest;
using virtualscanner::ScannerOptions;
using virtualscanner::VirtualScanner;
using virtualscanner::ZeroLengthPackets;

constexpr PageRequest kibibyte{75, false, 0, 0, 956, 1};   // a stream of two whole packets
constexpr PageRequest someBytes{75, false, 0, 0, 400, 1};  // a stream shorter than a packet
constexpr PageRequest page{75, true, 0, 0, 637, 300};
constexpr std::uint32_t readSize = 102400;  // of the driver's reads of the data pipe

ScannerOptions withFault(FaultKind kind, std::uint32_t position) {
  ScannerOptions options;
  options.faults = {{kind, position}};
  return options;
}

ScannerOptions withoutZeroLengthPackets() {
  ScannerOptions options;
  options.zeroLengthPackets = ZeroLengthPackets::never;
  return options;
}

// Whether the kernel takes requests of any size.
class UsbfsTransfers : public UsbfsHost, public testing::WithParamInterface<bool> {
 protected:
  UsbfsTransfers() { use({}); }
  void use(const ScannerOptions& kind) {
    plugIn({.largeRequests = GetParam()}, kind);
    open();
  }
  // Runs `other` on another thread while `work` waits for the end of a request.
  void meanwhile(const std::function<void()>& other, const std::function<void()>& work) {
    std::thread thread([this, &other] {
      usbfs_->awaitRequest();
      other();
    });
    work();
    thread.join();
  }
};

INSTANTIATE_TEST_SUITE_P(LargeRequests, UsbfsTransfers, testing::Bool(),
                         [](const auto& large) { return large.param ? "taken" : "refused"; });

TEST_P(UsbfsTransfers, TimeOutByTheShorterLimitWhereNothingMoves) {
  for (const auto& [noData, completion] : {std::pair{30U, 20000U}, {20000U, 30U}, {30U, 0U}, {0U, 30U}}) {
    EXPECT_EQ(read(dataPipe, readSize, noData, completion), kIOUSBTransactionTimeout);
    EXPECT_EQ(received_.size(), 0U);
    EXPECT_GE(elapsedMs_, 30);
  }
}

TEST_P(UsbfsTransfers, AskForNothingMeanwhile) {
  const auto before = usbfs_->statistics();
  EXPECT_EQ(read(dataPipe, 512, 300, 0), kIOUSBTransactionTimeout);
  const auto after = usbfs_->statistics();
  EXPECT_EQ(after.bulkRequests - before.bulkRequests, 1U);
  EXPECT_LE(after.calls - before.calls, 5U) << "handing in, asking back and looking for the end";
}

TEST_P(UsbfsTransfers, SucceedWithWhatCameBeforeTheSilence) {
  use(withoutZeroLengthPackets());
  const auto stream = startStream(kibibyte);
  EXPECT_EQ(read(dataPipe, readSize, 30, 0), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
  EXPECT_GE(elapsedMs_, 30);
  EXPECT_EQ(read(dataPipe, readSize, 30, 0), kIOUSBTransactionTimeout);
}

TEST_P(UsbfsTransfers, SucceedWithWhatCameUpToTheCompletionTimeOut) {
  use(withoutZeroLengthPackets());
  const auto stream = startStream(kibibyte);
  EXPECT_EQ(read(dataPipe, readSize, 0, 30), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, GoOnWhereBytesMovedBeforeTheNoDataTimeOut) {
  use(withoutZeroLengthPackets());
  auto stream = startStream(kibibyte);
  const std::uint64_t atFirst = GetParam() ? 1 : 7;
  std::thread device([this, atFirst] {
    usbfs_->awaitRequest(atFirst + 1);
    usbfs_->withScanner([](VirtualScanner& scanner) {
      EXPECT_EQ(DeviceHost(scanner).call("HostSendJob1.scanJob", "done"), "response 0");
      EXPECT_TRUE(DeviceHost(scanner).startJob(someBytes));
    });
  });
  EXPECT_EQ(read(dataPipe, readSize, 40, 0), kIOReturnSuccess);
  device.join();
  EXPECT_GT(received_.size(), stream.size());
  received_.resize(stream.size());
  EXPECT_EQ(received_, stream) << "followed by what came later";
}

TEST_P(UsbfsTransfers, EndWithAShortPacket) {
  const auto stream = startStream(someBytes);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, EndWithAShortPacketAfterManyWholeOnes) {
  const auto stream = startStream({75, true, 0, 0, 100, 133});
  ASSERT_GT(stream.size(), 2 * 16384U);
  ASSERT_NE(stream.size() % 512, 0U);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, EndWithAZeroLengthPacket) {
  const auto stream = startStream(kibibyte);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, MayHaveNothingButAZeroLengthPacket) {
  startStream(kibibyte);
  EXPECT_EQ(readForEver(dataPipe, 1024), kIOReturnSuccess);
  EXPECT_EQ(received_.size(), 1024U);
  EXPECT_EQ(readForEver(dataPipe, 1024), kIOReturnSuccess);
  EXPECT_EQ(received_.size(), 0U);
}

TEST_P(UsbfsTransfers, AreOneRequestWhereTheKernelTakesIt) {
  const auto stream = startStream(page);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess);
  EXPECT_TRUE(std::equal(received_.begin(), received_.end(), stream.begin()));
  EXPECT_EQ(received_.size(), readSize);
  EXPECT_EQ(usbfs_->statistics().bulkRequests, GetParam() ? 1U : 7U);
  EXPECT_EQ(usbfs_->statistics().largestRequest, GetParam() ? readSize : 16384U);
}

TEST_P(UsbfsTransfers, TellAPacketTooLargeForTheRoom) {
  startStream(page);
  EXPECT_EQ(readForEver(dataPipe, 100), kIOReturnOverrun);
  EXPECT_EQ(received_.size(), 100U);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnSuccess);
}

TEST_P(UsbfsTransfers, RefuseMoreThanTheSystemCanCount) {
  std::uint32_t size = std::uint32_t{INT_MAX} + 1;
  EXPECT_EQ(interface_->readPipeTO(dataPipe, nullptr, &size, 0, 0), kIOReturnBadArgument);
  EXPECT_EQ(size, 0U);
}

TEST_P(UsbfsTransfers, StallUntilThePipeIsCleared) {
  use(withFault(FaultKind::stall, 8));  // after the three calls and their replies, and one read
  const auto stream = startStream(page);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnSuccess);
  for (int tries = 0; tries < 2; ++tries) {
    EXPECT_EQ(readForEver(dataPipe, readSize), kIOUSBPipeStalled);
    EXPECT_EQ(received_.size(), 0U);
  }
  EXPECT_EQ(interface_->clearPipeStallBothEnds(dataPipe), kIOReturnSuccess);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnSuccess);
  EXPECT_TRUE(std::equal(received_.begin(), received_.end(), stream.begin() + 512)) << "nothing is lost";
}

TEST_P(UsbfsTransfers, WriteWholeCallsAndReadTheirReplies) {
  EXPECT_EQ(write(exitCall()), kIOReturnSuccess);
  EXPECT_EQ(readForEver(replyPipe, 512), kIOReturnSuccess);
  EXPECT_GT(received_.size(), 8U);
}

TEST_P(UsbfsTransfers, TimeOutWhereTheDeviceTakesOnlyAPart) {
  use(withFault(FaultKind::shortWrite, 1));
  EXPECT_EQ(write(exitCall(), 30, 0), kIOUSBTransactionTimeout);
  EXPECT_EQ(write(exitCall(), 30, 0), kIOReturnSuccess);
  EXPECT_THAT(*calls_, testing::ElementsAre("system.exitHostUSBSendMode"));
}

TEST_P(UsbfsTransfers, LeaveWhatComesAfterATimeOutToTheNextRead) {
  use(withFault(FaultKind::timeOut, 7));
  const auto stream = startStream(someBytes);
  EXPECT_EQ(read(dataPipe, 512, 30, 0), kIOUSBTransactionTimeout);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnSuccess);
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, WakeWhenTheDeviceHasSomethingToSay) {
  std::vector<std::uint8_t> stream;
  meanwhile([&] { stream = startStream(someBytes); },
            [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess); });
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, AreAbortedFromAnotherThread) {
  meanwhile([&] { EXPECT_EQ(interface_->abortPipe(dataPipe), kIOReturnSuccess); },
            [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnAborted); });
  EXPECT_EQ(received_.size(), 0U);
  startStream(someBytes);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess) << "the next one is another";
}

TEST_P(UsbfsTransfers, KeepWhatMovedBeforeTheAbort) {
  use(withoutZeroLengthPackets());
  const auto stream = startStream(kibibyte);
  meanwhile([&] { EXPECT_EQ(interface_->abortPipe(dataPipe), kIOReturnSuccess); },
            [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnAborted); });
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, ArePassedOverByAnAbortOfAnotherPipe) {
  meanwhile(
      [&] {
        EXPECT_EQ(interface_->abortPipe(replyPipe), kIOReturnSuccess);
        startStream(someBytes);
      },
      [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnSuccess); });
}

TEST_P(UsbfsTransfers, EndWhenTheDeviceIsUnplugged) {
  meanwhile([&] { usbfs_->unplug(); },
            [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnNoDevice); });
  EXPECT_EQ(received_.size(), 0U);
  EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnNoDevice);
  EXPECT_EQ(write(exitCall()), kIOReturnNoDevice);
  EXPECT_EQ(openNodes(), 0U) << "though nobody has closed it";
}

TEST_P(UsbfsTransfers, KeepWhatMovedBeforeTheUnplugging) {
  use(withoutZeroLengthPackets());
  const auto stream = startStream(kibibyte);
  meanwhile([&] { usbfs_->unplug(); },
            [&] { EXPECT_EQ(readForEver(dataPipe, readSize), kIOReturnNoDevice); });
  EXPECT_EQ(received_, stream);
}

TEST_P(UsbfsTransfers, EndWhenTheDeviceVanishesByItself) {
  use(withFault(FaultKind::unplug, 2));
  EXPECT_EQ(write(exitCall()), kIOReturnSuccess);
  EXPECT_EQ(readForEver(replyPipe, 512), kIOReturnNoDevice);
}

TEST_P(UsbfsTransfers, OfADeviceJustPulledOutEndAsSoonAsTheSystemHasNoticed) {
  usbfs_->fade(8);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnNoDevice);
  EXPECT_EQ(interface_->close(), kIOReturnNoDevice);
}

// What arrives while a request is being cancelled is neither lost nor joined with what arrives after it.
TEST_P(UsbfsTransfers, EndWithAShortPacketThatComesWhileTheyAreAskedBack) {
  const auto stream = startStream(someBytes);
  EXPECT_EQ(readForEver(dataPipe, 512), kIOReturnSuccess);
  usbfs_->beforeNextCancel([](VirtualScanner& scanner) {
    EXPECT_EQ(DeviceHost(scanner).call("HostSendJob1.scanJob", "done"), "response 0");
    EXPECT_TRUE(DeviceHost(scanner).startJob(someBytes));
  });
  EXPECT_EQ(read(dataPipe, 512, 30, 0), kIOReturnSuccess);
  EXPECT_EQ(received_.size(), stream.size());
}

TEST_P(UsbfsTransfers, AreFullWithTheLastPacketThatComesWhileTheyAreAskedBack) {
  usbfs_->beforeNextCancel(
      [](VirtualScanner& scanner) { EXPECT_TRUE(DeviceHost(scanner).startJob(kibibyte)); });
  EXPECT_EQ(read(dataPipe, 1024, 30, 0), kIOReturnSuccess);
  EXPECT_EQ(received_.size(), 1024U);
}

struct Ending {
  int status;
  IOReturn expected;
};

// How a kernel ends a request, and the platform's status for it.
class UsbfsEndings : public UsbfsHost, public testing::WithParamInterface<Ending> {};

TEST_P(UsbfsEndings, HaveAStatus) {
  plugIn();
  open();
  usbfs_->failNext(1, GetParam().status);
  EXPECT_EQ(readForEver(dataPipe, 512), GetParam().expected);
  const bool forGood = GetParam().expected == kIOReturnNoDevice;
  EXPECT_EQ(write(exitCall()), forGood ? kIOReturnNoDevice : kIOReturnSuccess) << "what it leaves behind";
}

INSTANTIATE_TEST_SUITE_P(Rows, UsbfsEndings,
                         testing::Values(Ending{-EPIPE, kIOUSBPipeStalled},
                                         Ending{-EOVERFLOW, kIOReturnOverrun},
                                         Ending{-ESHUTDOWN, kIOReturnNoDevice},
                                         Ending{-ENODEV, kIOReturnNoDevice},
                                         Ending{-EPROTO, kIOReturnIOError}, Ending{-EILSEQ, kIOReturnIOError},
                                         Ending{-ETIME, kIOReturnIOError}, Ending{-ECOMM, kIOReturnIOError},
                                         Ending{-ENOSR, kIOReturnIOError}, Ending{-EINVAL, kIOReturnIOError}),
                         [](const auto& row) { return std::string(strerrorname_np(-row.param.status)); });

}  // namespace
