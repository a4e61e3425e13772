#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CallLog.h"
#include "DeviceHost.h"
#include "PageImage.h"
#include "VirtualScanner.h"

namespace virtualscanner {
namespace {

using testing::HasSubstr;
namespace usb = platform::usb;

const PageRequest smallColor{75, true, 40, 90, 61, 37};
const PageRequest smallGrey{150, false, 40, 90, 61, 37};

constexpr Transfer silent{TransferStatus::silent};
constexpr Transfer halted{TransferStatus::halted};
constexpr Transfer gone{TransferStatus::gone};

class VirtualScanner : public testing::Test {
 protected:
  // A new scanner with these options.
  void use(ScannerOptions options) {
    scanner_ = std::make_unique<virtualscanner::VirtualScanner>(Paper::testChart(), std::move(options));
    host_ = std::make_unique<DeviceHost>(*scanner_);
  }
  void useFaults(std::vector<Fault> faults) {
    ScannerOptions options;
    options.faults = std::move(faults);
    use(std::move(options));
  }
  std::string done() { return host_->call(host_->jobName() + ".scanJob", "done"); }
  Transfer clearHalt(std::uint8_t address) { return scanner_->control(usb::clearHaltOf(address), nullptr); }
  // The image of one whole job; empty where the job was refused.
  std::vector<std::uint8_t> scan(const PageRequest& request, std::size_t capacity = 102400) {
    if (!host_->startJob(request)) return {};
    std::vector<std::uint8_t> image = imageOf(host_->readStream(capacity));
    EXPECT_EQ(done(), "response 0");
    EXPECT_EQ(host_->exit(), "response 0");
    return image;
  }
  static std::vector<std::uint8_t> expected(const PageRequest& request) {
    return expectedImage(*Paper::testChart(), request);
  }

  std::unique_ptr<virtualscanner::VirtualScanner> scanner_ =
      std::make_unique<virtualscanner::VirtualScanner>();
  std::unique_ptr<DeviceHost> host_ = std::make_unique<DeviceHost>(*scanner_);
};

TEST_F(VirtualScanner, StreamsThePageThatTheParametersAskFor) {
  for (const PageRequest& request : {smallColor, smallGrey, PageRequest{600, false, 4800, 6900, 310, 130},
                                     PageRequest{400, true, -5, -5, 20, 20}}) {
    EXPECT_EQ(scan(request), expected(request));
    EXPECT_EQ(scanner_->lastRequest(), request);
  }
}

TEST_F(VirtualScanner, StreamsTheSameImageForEveryPacketAndTransferSize) {
  for (const std::uint32_t payload : {1U, 8U, 511U, 65536U}) {
    for (const std::uint32_t transferBytes : {0U, 1U, 7U, 512U, 1024U, 102400U}) {
      for (const auto packets : {ZeroLengthPackets::never, ZeroLengthPackets::whenNeeded}) {
        ScannerOptions options;
        options.packetPayload = payload;
        options.transferBytes = transferBytes;
        options.zeroLengthPackets = packets;
        use(options);
        ASSERT_EQ(scan(smallGrey), expected(smallGrey)) << payload << " in " << transferBytes;
      }
    }
  }
}

TEST_F(VirtualScanner, AnswersAReadWithNoMoreThanATransfer) {
  ScannerOptions options;
  options.transferBytes = 7;
  use(options);
  ASSERT_TRUE(host_->startJob(smallGrey));
  EXPECT_EQ(host_->readData(102400), (Transfer{TransferStatus::done, 7, true}));
  options.transferBytes = 1024;
  use(options);
  ASSERT_TRUE(host_->startJob(smallGrey));
  EXPECT_EQ(host_->readData(102400), (Transfer{TransferStatus::done, 1024, true}));
}

TEST_F(VirtualScanner, FillsEveryReadWhenTheStreamIsOneTransfer) {
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readData(1024), (Transfer{TransferStatus::done, 1024, false}));
  EXPECT_EQ(host_->readData(512), (Transfer{TransferStatus::done, 512, false}));
}

TEST_F(VirtualScanner, StreamsThePaperOfTheMomentPaintedAheadOrNot) {
  for (const bool ahead : {false, true}) {
    ScannerOptions options;
    options.paintAhead = ahead;
    use(options);
    EXPECT_EQ(scan(smallColor), expected(smallColor));
    EXPECT_EQ(scan(smallColor), expected(smallColor)) << "again";
    EXPECT_EQ(scan(smallGrey), expected(smallGrey)) << "another request";
    scanner_->insertPaper(Paper::plain({9, 8, 7}));
    EXPECT_EQ(scan(smallGrey), expectedImage(*Paper::plain({9, 8, 7}), smallGrey)) << "another paper";
  }
}

TEST_F(VirtualScanner, IsSilentOnTheDataPipeUnlessAJobRuns) {
  EXPECT_EQ(host_->readData(512), silent);
  host_->enter();
  host_->create();
  EXPECT_EQ(host_->readData(512), silent);
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readData(512).status, TransferStatus::done);
  EXPECT_EQ(done(), "response 0");
  EXPECT_EQ(host_->readData(512), silent) << "the rest of the stream went with the job";
}

TEST_F(VirtualScanner, IsSilentOnEndpointsThatAreNotTheScanners) {
  ScannerOptions options;
  options.alternateSettings = true;
  use(options);
  std::uint8_t byte = 0;
  EXPECT_EQ(scanner_->write(requestEndpoint, &byte, 1), silent) << "setting 0 has no endpoints";
  EXPECT_EQ(scanner_->control(usb::selectSetting(0, 1), nullptr).status, TransferStatus::done);
  EXPECT_EQ(scanner_->read(directionIn | 1, &byte, 1), silent);
  EXPECT_EQ(scanner_->write(1, &byte, 1), silent);
  EXPECT_EQ(scanner_->read(directionIn | 15, &byte, 1), silent);
  EXPECT_EQ(scan(smallColor), expected(smallColor));
}

TEST_F(VirtualScanner, AnswersControlRequestsUpToTheRoom) {
  std::uint8_t data[18] = {};
  EXPECT_EQ(scanner_->control(usb::readDescriptor(usb::deviceDescriptor, 0, 18), data),
            (Transfer{TransferStatus::done, 18, true}));
  EXPECT_EQ(std::vector<std::uint8_t>(data, data + 18), scanner_->deviceDescriptor());
  EXPECT_EQ(scanner_->control(usb::readDescriptor(usb::deviceDescriptor, 0, 8), data),
            (Transfer{TransferStatus::done, 8, true}));
  EXPECT_EQ(scanner_->control({/*of a vendor*/ 0x40, 1, 0, 0, 0}, data), halted);
}

TEST_F(VirtualScanner, StartsAfreshWithEveryEnterWhateverWasLeftBehind) {
  const auto leaveBehind = {
      +[](DeviceHost& host) { host.startJob(smallColor); },
      +[](DeviceHost& host) { host.startJob(smallColor), host.readData(1000); },
      +[](DeviceHost& host) { host.write(host.framed("nobody", "asked", {})); },
      +[](DeviceHost& host) {
        host.write({0xCC, 0, 0, 0, 0, 0, 2, 0, '<', 'm'});
      },
      +[](DeviceHost& host) {
        host.write({0xCC, 0, 0});
      },
  };
  for (const auto& leave : leaveBehind) {
    leave(*host_);
    EXPECT_EQ(scan(smallGrey), expected(smallGrey));
  }
}

TEST_F(VirtualScanner, LosesEverythingWhenUnpluggedAndStartsAfreshWhenPluggedIn) {
  ASSERT_TRUE(host_->startJob(smallColor));
  scanner_->unplug();
  EXPECT_FALSE(scanner_->pluggedIn());
  EXPECT_EQ(host_->readData(512), gone);
  EXPECT_EQ(host_->write({1, 2, 3}), gone);
  EXPECT_EQ(clearHalt(dataEndpoint), gone);
  scanner_->plugIn();
  EXPECT_EQ(scanner_->connection(), 2U);
  EXPECT_EQ(host_->readData(512), silent);
  EXPECT_EQ(host_->create(), "exception");
  EXPECT_EQ(scan(smallGrey), expected(smallGrey));
  scanner_->plugIn();
  EXPECT_EQ(scanner_->connection(), 2U) << "it was plugged in already";
}

// Faults. In a job, transfers 1 and 2 are the call of enter and its reply, 3 and 4 create, 5 and 6 start.

TEST_F(VirtualScanner, HaltsAnEndpointUntilTheHostClearsIt) {
  useFaults({{FaultKind::stall, 8}});
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readData(512).moved, 512U);
  EXPECT_EQ(host_->readData(512), halted);
  EXPECT_EQ(host_->readData(512), halted);
  EXPECT_EQ(host_->enter(), "response 0") << "the other endpoints go on";
  EXPECT_EQ(host_->readData(512), halted) << "only the host ends a halt";
  EXPECT_EQ(clearHalt(dataEndpoint).status, TransferStatus::done);
  EXPECT_EQ(scan(smallGrey), expected(smallGrey));
}

TEST_F(VirtualScanner, KeepsWhatATimedOutReadDidNotGet) {
  useFaults({{FaultKind::timeOut, 7}});
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readData(512), silent);
  EXPECT_EQ(imageOf(host_->readStream()), expected(smallColor));
}

TEST_F(VirtualScanner, DoesNotGetAWriteThatTimesOut) {
  useFaults({{FaultKind::timeOut, 1}});
  const CallLog calls = recordCalls(*scanner_);
  EXPECT_EQ(host_->enter(), "none");
  EXPECT_THAT(*calls, testing::IsEmpty());
  EXPECT_EQ(host_->enter(), "response 0");
}

TEST_F(VirtualScanner, TakesHalfOfAShortWriteAndRecovers) {
  useFaults({{FaultKind::shortWrite, 2}});
  EXPECT_EQ(host_->enter(), "response 0");
  const auto packet =
      host_->framed("jobFactory", "create", {DeviceHost::Parameter::kind, DeviceHost::Parameter::tree});
  EXPECT_EQ(host_->write(packet), (Transfer{TransferStatus::silent, packet.size() / 2, false}));
  EXPECT_EQ(host_->takeReply(), "");
  EXPECT_EQ(host_->create(), "response HostSendJob1");
}

TEST_F(VirtualScanner, KeepsABoundedNumberOfRepliesForAHostThatReadsNone) {
  const auto call = host_->framed("nobody", "asked", {});
  for (int i = 0; i < 100; ++i) host_->write(call);
  for (int i = 0; i < 64; ++i) ASSERT_THAT(host_->takeReply(), HasSubstr("there is no such object")) << i;
  EXPECT_EQ(host_->takeReply(), "");
  EXPECT_EQ(scan(smallGrey), expected(smallGrey));
}

TEST_F(VirtualScanner, IsUnpluggedAtAnyTransfer) {
  for (std::uint32_t n = 1; n <= 12; ++n) {
    useFaults({{FaultKind::unplug, n}});
    if (host_->startJob(smallColor)) host_->readStream(4096);
    while (scanner_->pluggedIn()) done();
    EXPECT_EQ(scanner_->transfers(), n);
    scanner_->plugIn();
    EXPECT_EQ(scan(smallGrey), expected(smallGrey)) << n;
  }
}

TEST_F(VirtualScanner, RefusesACallWithAnExceptionAndDoesNotCarryItOut) {
  useFaults({{FaultKind::exceptionReply, 2}});
  EXPECT_EQ(host_->enter(), "response 0");
  EXPECT_EQ(host_->create(), "exception");
  EXPECT_THAT(host_->lastReply(), HasSubstr("refused by fault injection"));
  EXPECT_EQ(host_->create(), "response HostSendJob1");
}

TEST_F(VirtualScanner, SplitsAReplyIntoTwoTransfers) {
  useFaults({{FaultKind::splitReply, 1}});
  host_->write(host_->framed("system", "enterHostUSBSendMode", {DeviceHost::Parameter::tree}));
  std::vector<std::uint8_t> buffer(512);
  const Transfer first = scanner_->read(replyEndpoint, buffer.data(), buffer.size());
  const Transfer second = scanner_->read(replyEndpoint, &buffer[first.moved], 512 - first.moved);
  EXPECT_TRUE(first.ended);
  EXPECT_TRUE(second.ended);
  EXPECT_EQ(buffer[0], 0xCC);
  EXPECT_EQ(buffer[7] + 8U, first.moved + second.moved);
  EXPECT_EQ(host_->create(), "response HostSendJob1");
}

TEST_F(VirtualScanner, GarblesAReplyButCarriesTheCallOut) {
  useFaults({{FaultKind::garbageReply, 1}});
  testing::internal::CaptureStderr();
  EXPECT_EQ(host_->enter(), "malformed");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(host_->create(), "response HostSendJob1");
}

TEST_F(VirtualScanner, PutsGarbageIntoTheStreamOnce) {
  useFaults({{FaultKind::garbage, 100}});
  ASSERT_TRUE(host_->startJob(smallColor));
  const std::size_t disturbed = host_->readStream().size();
  EXPECT_EQ(done(), "response 0");
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readStream().size() + 64, disturbed);
}

TEST_F(VirtualScanner, TruncatesTheImage) {
  useFaults({{FaultKind::truncatedImage, 100}});
  ASSERT_TRUE(host_->startJob(smallColor));
  EXPECT_EQ(host_->readStream().size(), 8U + 8 + 8 + 100);
  EXPECT_EQ(host_->readData(512), silent);
  EXPECT_EQ(done(), "response 0");
}

TEST_F(VirtualScanner, SendsAWrongHeader) {
  for (std::uint32_t kind = 1; kind <= 4; ++kind) {
    useFaults({{FaultKind::wrongHeader, kind}});
    const std::string header = wrongImageHeader(smallGrey, kind);
    const auto image = scan(smallGrey);
    EXPECT_EQ(std::string(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(header.size())), header);
    EXPECT_EQ(image.size(), header.size() + smallGrey.imageBytes());
  }
}

TEST_F(VirtualScanner, IsSilentBeforeTheFirstByteForTheGivenNumberOfReads) {
  useFaults({{FaultKind::silence, 3}});
  ASSERT_TRUE(host_->startJob(smallColor));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(host_->readData(512), silent);
  EXPECT_EQ(imageOf(host_->readStream()), expected(smallColor));
}

TEST_F(VirtualScanner, TakesNewFaultsAndCountsAnew) {
  EXPECT_EQ(host_->enter(), "response 0");
  scanner_->setFaults({{FaultKind::exceptionReply, 1}});
  EXPECT_EQ(scanner_->transfers(), 0U);
  EXPECT_EQ(scanner_->options().faults.size(), 1U);
  EXPECT_EQ(host_->create(), "exception");
  EXPECT_EQ(host_->create(), "response HostSendJob1");
}

}  // namespace
}  // namespace virtualscanner
