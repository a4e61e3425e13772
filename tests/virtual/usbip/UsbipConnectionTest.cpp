#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "DeviceHost.h"
#include "DeviceIdentity.h"
#include "MemoryGrowth.h"
#include "UsbipClient.h"
#include "UsbipConnection.h"

namespace virtualscanner {
namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::IsEmpty;
using testing::SizeIs;

const Bytes devicesRequest{0x01, 0x11, 0x80, 0x05, 0, 0, 0, 0};

Bytes importRequest(const std::string& busId) {
  Bytes bytes{0x01, 0x11, 0x80, 0x03, 0, 0, 0, 0};
  bytes.insert(bytes.end(), busId.begin(), busId.end());
  bytes.resize(40);
  return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes padded(const std::string& text, std::size_t size) {
  Bytes bytes(text.begin(), text.end());
  bytes.resize(size);
  return bytes;
}

Bytes highFirst(std::uint16_t value) {
  return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value & 0xFF)};
}

Bytes describedDevice() {
  return padded("/sys/devices/virtual/q750/usb1/1-1", 256) + padded("1-1", 32) +
         Bytes{0, 0, 0, /*bus*/ 1, 0, 0, 0, /*number*/ 2, 0, 0, 0, /*high speed*/ 3} +
         highFirst(platform::deviceVendorId) + highFirst(platform::deviceProductId) +
         Bytes{/*release*/ 1,       0,        /*class, subclass, protocol*/ 0, 0, 0,
               /*configuration*/ 1, /*of*/ 1,
               /*interfaces*/ 1};
}

Bytes submitReply(std::uint8_t sequenceNumber, int status, std::uint8_t actualLength) {
  const auto low = static_cast<std::uint8_t>(status & 0xFF);
  const std::uint8_t sign = status < 0 ? 0xFF : 0;
  return Bytes{0, 0, 0, 3, 0, 0, 0,    sequenceNumber, 0,    0,   0, 0, 0, 0,
               0, 0, 0, 0, 0, 0, sign, sign,           sign, low, 0, 0, 0, actualLength} +
         Bytes(20);
}

Bytes unlinkReply(std::uint8_t sequenceNumber, int status) {
  Bytes bytes = submitReply(sequenceNumber, status, 0);
  bytes[3] = 4;
  return bytes;
}

class UsbipConnection : public testing::Test {
 protected:
  using Connection = virtualscanner::UsbipConnection;

  void use(ScannerOptions options, std::shared_ptr<const Paper> paper = Paper::testChart()) {
    connection_.reset();
    scanner_ = std::make_unique<VirtualScanner>(std::move(paper), std::move(options));
    port_ = std::make_unique<UsbipPort>(*scanner_);
    connection_ = std::make_unique<Connection>(*port_);
  }
  UsbipConnection() { use({}); }

  void import() {
    feed(importRequest("1-1"));
    ASSERT_THAT(takeOutput(), SizeIs(320));
  }
  void feed(const Bytes& bytes) { connection_->receive(bytes); }
  // Everything that is pending.
  Bytes takeOutput() {
    Bytes all;
    while (!connection_->output().empty()) {
      const auto some = connection_->output();
      all.insert(all.end(), some.begin(), some.end());
      connection_->sent(some.size());
    }
    return all;
  }
  Bytes answerTo(const Bytes& bytes) {
    feed(bytes);
    return takeOutput();
  }
  // A request of the host, framed as it travels.
  Bytes framedCall() { return DeviceHost(*scanner_).framed("system", "enterHostUSBSendMode", {}); }
  Bytes submitCall(std::uint8_t sequenceNumber) {
    const Bytes call = framedCall();
    return usbipSubmit(sequenceNumber, requestEndpoint, static_cast<std::uint32_t>(call.size())) + call;
  }
  void expectComplaint(const Bytes& bytes, const std::string& complaint) {
    EXPECT_THAT(answerTo(bytes), IsEmpty());
    EXPECT_TRUE(connection_->hasEnded());
    EXPECT_FALSE(connection_->wantsInput());
    EXPECT_EQ(connection_->complaint(), complaint);
    EXPECT_THAT(answerTo(bytes), IsEmpty()) << "deaf from then on";
  }

  std::unique_ptr<VirtualScanner> scanner_;
  std::unique_ptr<UsbipPort> port_;
  std::unique_ptr<Connection> connection_;
};

TEST_F(UsbipConnection, ListsTheDevice) {
  EXPECT_EQ(answerTo(devicesRequest),
            (Bytes{0x01, 0x11, 0x00, 0x05, 0, 0, 0, /*good*/ 0, 0, 0, 0, /*one*/ 1} + describedDevice() +
             Bytes{/*vendor specific*/ 0xFF, 0, 0, 0}));
  EXPECT_TRUE(connection_->hasEnded());
  EXPECT_EQ(connection_->complaint(), "");
  EXPECT_FALSE(port_->isTaken());
}

TEST_F(UsbipConnection, ListsOneInterfaceHoweverManySettingsItHas) {
  ScannerOptions options;
  options.alternateSettings = true;
  use(options);
  EXPECT_THAT(answerTo(devicesRequest), SizeIs(12 + 312 + 4));
}

TEST_F(UsbipConnection, HandsTheDeviceOver) {
  EXPECT_EQ(answerTo(importRequest("1-1")),
            (Bytes{0x01, 0x11, 0x00, 0x03, 0, 0, 0, /*good*/ 0} + describedDevice()));
  EXPECT_TRUE(connection_->isAttached());
  EXPECT_TRUE(port_->isTaken());
  EXPECT_FALSE(connection_->hasEnded());
}

TEST_F(UsbipConnection, TakesRequestsHoweverTheyAreCut) {
  const Bytes setup{0x80, /*GET_DESCRIPTOR*/ 6, 0, /*device*/ 1, 0, 0, 18, 0};
  const Bytes dialogue = importRequest("1-1") + usbipSubmit(1, 0, 18, setup) + submitCall(2) +
                         usbipSubmit(3, replyEndpoint, 512) + usbipSubmit(4, dataEndpoint, 512) +
                         usbipUnlink(5, 4);
  const Bytes whole = answerTo(dialogue);
  for (const std::size_t size : {1U, 7U, 47U, 48U, 49U}) {
    use({});
    Bytes answer;
    for (std::size_t at = 0; at < dialogue.size(); at += size) {
      const auto end = std::min(at + size, dialogue.size());
      answer = answer + answerTo({dialogue.begin() + static_cast<std::ptrdiff_t>(at),
                                  dialogue.begin() + static_cast<std::ptrdiff_t>(end)});
    }
    EXPECT_EQ(answer, whole) << size;
  }
}

TEST_F(UsbipConnection, WaitsForTheRestOfWhatBegan) {
  const Bytes request = importRequest("1-1");
  feed({request.begin(), request.end() - 1});
  EXPECT_THAT(connection_->output(), IsEmpty());
  EXPECT_TRUE(connection_->wantsInput());
  EXPECT_FALSE(connection_->hasEnded());
}

TEST_F(UsbipConnection, RefusesABusIdThatIsNotTheDevices) {
  for (const std::string& id : {std::string(), std::string("1-2"), std::string("1-11"), std::string("1-1/"),
                                std::string("../1-1"), std::string(32, '1')}) {
    use({});
    EXPECT_EQ(answerTo(importRequest(id)), (Bytes{0x01, 0x11, 0x00, 0x03, 0, 0, 0, /*no device*/ 4})) << id;
    EXPECT_TRUE(connection_->hasEnded());
    EXPECT_FALSE(port_->isTaken());
  }
}

TEST_F(UsbipConnection, ReportsBusyToASecondClient) {
  import();
  Connection second(*port_);
  second.receive(importRequest("1-1"));
  EXPECT_THAT(second.output(), testing::ElementsAre(0x01, 0x11, 0x00, 0x03, 0, 0, 0, /*busy*/ 2));
  EXPECT_TRUE(second.hasEnded());
  Connection third(*port_);
  third.receive(devicesRequest);
  EXPECT_THAT(third.output(), testing::ElementsAre(0x01, 0x11, 0x00, 0x05, 0, 0, 0, 0, 0, 0, 0, /*none*/ 0));
  EXPECT_FALSE(connection_->hasEnded());
}

TEST_F(UsbipConnection, EndsOnAnythingElseAtTheBeginning) {
  expectComplaint({0x01, 0x06, 0x80, 0x03, 0, 0, 0, 0}, "a protocol version other than 1.1.1");
  use({});
  expectComplaint({0x01, 0x11, 0x80, 0x04, 0, 0, 0, 0}, "an unknown request");
  use({});
  expectComplaint({'G', 'E', 'T', ' ', '/', ' ', 'H', 'T', 'T', 'P'}, "a protocol version other than 1.1.1");
}

TEST_F(UsbipConnection, AnswersAControlRead) {
  import();
  const Bytes setup{0x80, /*GET_CONFIGURATION*/ 8, 0, 0, 0, 0, 1, 0};
  EXPECT_EQ(answerTo(usbipSubmit(7, 0, 1, setup)), submitReply(7, 0, 1) + Bytes{1});
}

TEST_F(UsbipConnection, CarriesNoMoreOfADescriptorThanThereIsRoomFor) {
  import();
  const Bytes whole = scanner_->configurationDescriptor();
  const Bytes setup{0x80, /*GET_DESCRIPTOR*/ 6, 0, /*configuration*/ 2, 0, 0, 0xFF, 0xFF};
  EXPECT_EQ(answerTo(usbipSubmit(1, 0, 9, setup)),
            submitReply(1, 0, 9) + Bytes(whole.begin(), whole.begin() + 9));
  EXPECT_EQ(answerTo(usbipSubmit(2, 0, 0, setup)), submitReply(2, 0, 0));
  EXPECT_EQ(answerTo(usbipSubmit(3, 0, 4096, setup)),
            submitReply(3, 0, static_cast<std::uint8_t>(whole.size())) + whole);
}

TEST_F(UsbipConnection, StallsWhatTheDeviceDoesNotUnderstand) {
  import();
  const Bytes qualifier{0x80, /*GET_DESCRIPTOR*/ 6, 0, /*device qualifier*/ 6, 0, 0, 10, 0};
  EXPECT_EQ(answerTo(usbipSubmit(1, 0, 10, qualifier)), submitReply(1, -EPIPE, 0));
}

TEST_F(UsbipConnection, StallsASetupPacketThatContradictsItsDirection) {
  import();
  Bytes request = usbipSubmit(1, 0, 18, {0x80, 6, 0, 1, 0, 0, 18, 0});
  request[15] = /*out*/ 0;
  EXPECT_EQ(answerTo(request + Bytes(18)), submitReply(1, -EPIPE, 0));
  request = usbipSubmit(2, 0, 18, {0x00, 9, 1, 0, 0, 0, 18, 0});
  request[15] = /*in*/ 1;
  EXPECT_EQ(answerTo(request), submitReply(2, -EPIPE, 0));
  EXPECT_FALSE(connection_->hasEnded());
}

TEST_F(UsbipConnection, ClearsAHaltAndGoesOn) {
  use({.faults = {{FaultKind::stall, 1}}});
  import();
  const Bytes call = framedCall();
  EXPECT_EQ(answerTo(submitCall(1)), submitReply(1, -EPIPE, 0));
  const Bytes clearHalt{0x02, /*CLEAR_FEATURE*/ 1, /*halt*/ 0, 0, requestEndpoint, 0, 0, 0};
  EXPECT_EQ(answerTo(usbipSubmit(2, 0, 0, clearHalt)), submitReply(2, 0, 0));
  EXPECT_EQ(answerTo(submitCall(3)), submitReply(3, 0, static_cast<std::uint8_t>(call.size())));
}

TEST_F(UsbipConnection, CompletesAReadOnceTheDeviceHasSomethingToSend) {
  import();
  EXPECT_THAT(answerTo(usbipSubmit(1, replyEndpoint, 512)), IsEmpty());
  const Bytes answer = answerTo(submitCall(2));
  ASSERT_GT(answer.size(), 96U);
  EXPECT_EQ(answer[7], 2) << "first the write that was done";
  EXPECT_EQ(answer[48 + 7], 1);
  EXPECT_EQ(answer[48 + 27] + 256 * answer[48 + 26], answer.size() - 96);
}

TEST_F(UsbipConnection, UnlinksAWaitingRequest) {
  import();
  EXPECT_THAT(answerTo(usbipSubmit(1, dataEndpoint, 512)), IsEmpty());
  EXPECT_EQ(answerTo(usbipUnlink(2, 1)), unlinkReply(2, -ECONNRESET));
  EXPECT_THAT(answerTo(usbipSubmit(1, dataEndpoint, 512)), IsEmpty()) << "its number is free again";
}

TEST_F(UsbipConnection, AnswersTheUnlinkingOfRequestsThatEndedOrNeverWere) {
  import();
  const Bytes setup{0x80, /*GET_STATUS*/ 0, 0, 0, 0, 0, 2, 0};
  EXPECT_EQ(answerTo(usbipSubmit(1, 0, 2, setup)), submitReply(1, 0, 2) + (Bytes{/*self-powered*/ 1, 0}));
  EXPECT_EQ(answerTo(usbipUnlink(2, 1)), unlinkReply(2, 0));
  EXPECT_EQ(answerTo(usbipUnlink(3, 99)), unlinkReply(3, 0));
  EXPECT_EQ(answerTo(usbipUnlink(4, 4)), unlinkReply(4, 0)) << "itself";
}

// A stream that ends on a packet boundary without a zero-length packet leaves the read waiting for more.
TEST_F(UsbipConnection, DeliversTheBytesMovedBeforeTheUnlinking) {
  ScannerOptions options;
  options.transferBytes = 512;
  options.zeroLengthPackets = ZeroLengthPackets::never;
  use(options);
  import();
  ASSERT_TRUE(DeviceHost(*scanner_).startJob({75, false, 0, 0, 37, 12}));
  EXPECT_THAT(answerTo(usbipSubmit(1, dataEndpoint, 65536)), IsEmpty());
  const Bytes answer = answerTo(usbipUnlink(2, 1));
  ASSERT_THAT(answer, SizeIs(48 + 512 + 48));
  Bytes header = submitReply(1, -ECONNRESET, 0);
  header[26] = 512 >> 8;
  EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 48), header);
  EXPECT_EQ(Bytes(answer.end() - 48, answer.end()), unlinkReply(2, 0));
}

TEST_F(UsbipConnection, ReportsHowMuchOfAShortWriteMovedWhenItIsUnlinked) {
  use({.faults = {{FaultKind::shortWrite, 1}}});
  import();
  EXPECT_THAT(answerTo(submitCall(1)), IsEmpty());
  const auto half = static_cast<std::uint8_t>(framedCall().size() / 2);
  EXPECT_EQ(answerTo(usbipUnlink(2, 1)), submitReply(1, -ECONNRESET, half) + unlinkReply(2, 0));
}

TEST_F(UsbipConnection, EndsWithTheDevice) {
  use({.faults = {{FaultKind::unplug, 2}}});
  import();
  EXPECT_THAT(answerTo(usbipSubmit(1, replyEndpoint, 512)), IsEmpty());
  EXPECT_EQ(answerTo(submitCall(2)), submitReply(2, -ESHUTDOWN, 0) + submitReply(1, -ESHUTDOWN, 0));
  EXPECT_TRUE(connection_->hasEnded());
  EXPECT_EQ(connection_->complaint(), "");
}

TEST_F(UsbipConnection, UnplugsWhenDestroyedAndPlugsInForTheNext) {
  import();
  const std::uint32_t first = scanner_->connection();
  EXPECT_THAT(answerTo(usbipSubmit(1, dataEndpoint, 512)), IsEmpty());
  connection_.reset();
  EXPECT_FALSE(scanner_->pluggedIn());
  EXPECT_FALSE(port_->isTaken());
  connection_ = std::make_unique<Connection>(*port_);
  import();
  EXPECT_TRUE(scanner_->pluggedIn());
  EXPECT_EQ(scanner_->connection(), first + 1);
  EXPECT_EQ(answerTo(usbipUnlink(2, 1)), unlinkReply(2, 0)) << "nothing is left of what waited";
}

TEST_F(UsbipConnection, LeavesTheDeviceAloneUnlessItHasIt) {
  import();
  { Connection other(*port_); }
  EXPECT_TRUE(scanner_->pluggedIn());
  EXPECT_TRUE(port_->isTaken());
}

TEST_F(UsbipConnection, BeginsAttachedForAClientThatWasHandedIt) {
  EXPECT_TRUE(connection_->attach());
  EXPECT_EQ(answerTo(usbipUnlink(1, 2)), unlinkReply(1, 0));
  Connection second(*port_);
  EXPECT_FALSE(second.attach());
}

// One word of a good request replaced.
struct Broken {
  std::size_t word;
  std::uint32_t value;
  const char* complaint;
};

TEST_F(UsbipConnection, EndsOnABrokenCommand) {
  const Broken cases[] = {
      {0, 0, "an unknown command"},
      {0, 3, "an unknown command"},
      {0, 0xFFFFFFFF, "an unknown command"},
      {2, 0, "a device that was not imported"},
      {2, 0x00010003, "a device that was not imported"},
      {3, 2, "an endpoint that does not exist"},
      {4, 16, "an endpoint that does not exist"},
      {4, 0xFFFFFFFF, "an endpoint that does not exist"},
      {6, 0x01000001, "a transfer larger than 16 MiB"},
      {6, 0x80000000, "a transfer larger than 16 MiB"},
      {6, 0xFFFFFFFF, "a transfer larger than 16 MiB"},
      {8, 1, "an isochronous transfer"},
      {8, 0xFFFFFFFE, "an isochronous transfer"},
  };
  for (const Broken& one : cases) {
    use({});
    import();
    Bytes command = usbipSubmit(1, dataEndpoint, 512);
    for (int byte = 0; byte < 4; ++byte)
      command[one.word * 4 + static_cast<std::size_t>(byte)] =
          static_cast<std::uint8_t>(one.value >> (24 - 8 * byte) & 0xFF);
    expectComplaint(command, one.complaint);
  }
}

TEST_F(UsbipConnection, EndsOnASequenceNumberInUse) {
  import();
  EXPECT_THAT(answerTo(usbipSubmit(1, dataEndpoint, 512)), IsEmpty());
  expectComplaint(usbipSubmit(1, replyEndpoint, 512), "a sequence number in use");
}

TEST_F(UsbipConnection, AcceptsBothMarksOfATransferThatIsNotIsochronous) {
  import();
  Bytes command = usbipSubmit(1, 0, 1, {0x80, /*GET_CONFIGURATION*/ 8, 0, 0, 0, 0, 1, 0});
  for (std::size_t at = 32; at < 36; ++at) command[at] = 0;
  EXPECT_EQ(answerTo(command), submitReply(1, 0, 1) + Bytes{1});
}

TEST_F(UsbipConnection, RejectsRequestsBeyondItsMemory) {
  import();
  const auto large = static_cast<std::uint32_t>(Connection::largestTransfer);
  for (std::uint8_t number = 1; number <= 4; ++number)
    EXPECT_THAT(answerTo(usbipSubmit(number, dataEndpoint, large)), IsEmpty());
  EXPECT_EQ(answerTo(usbipSubmit(5, dataEndpoint, 1)), submitReply(5, -ENOMEM, 0));
  EXPECT_EQ(answerTo(usbipUnlink(6, 2)), unlinkReply(6, -ECONNRESET));
  EXPECT_THAT(answerTo(usbipSubmit(7, dataEndpoint, 1)), IsEmpty());
}

TEST_F(UsbipConnection, RejectsRequestsBeyondTheirNumber) {
  import();
  for (std::uint32_t number = 1; number <= Connection::mostRequests; ++number)
    ASSERT_THAT(answerTo(usbipSubmit(number << 8, dataEndpoint, 1)), IsEmpty());
  EXPECT_EQ(answerTo(usbipSubmit(5, dataEndpoint, 1)), submitReply(5, -ENOMEM, 0));
}

TEST_F(UsbipConnection, TakesNoInputWhileItsOutputIsNotTaken) {
  import();
  const Bytes setup{0x80, /*GET_STATUS*/ 0, 0, 0, 0, 0, 2, 0};
  Bytes burst;
  for (std::uint32_t number = 0; number < 30000; ++number) {
    const Bytes request = usbipSubmit(number, 0, 2, setup);
    burst.insert(burst.end(), request.begin(), request.end());
  }
  feed(burst);
  EXPECT_FALSE(connection_->wantsInput());
  EXPECT_LT(connection_->output().size(), Connection::outputLimit + 50);
  connection_->sent(50);
  EXPECT_FALSE(connection_->wantsInput()) << "there is more to do than was taken";
  EXPECT_THAT(takeOutput(), SizeIs(30000U * 50 - 50)) << "nothing is lost";
  EXPECT_TRUE(connection_->wantsInput());
}

class UsbipMemory : public UsbipConnection {
 protected:
  void SetUp() override {
    if (!memoryIsMeasurable) GTEST_SKIP() << "the sanitizer keeps the heap";
    import();
  }
};

TEST_F(UsbipMemory, StaysTheSameOverAnyNumberOfRequests) {
  const Bytes call = submitCall(1);
  const Bytes read = usbipSubmit(2, replyEndpoint, 512);
  EXPECT_LT(growthOver(manyRounds,
                       [&] {
                         feed(call);
                         feed(read);
                         takeOutput();
                       }),
            flat);
}

TEST_F(UsbipMemory, StaysTheSameOverRequestsThatAreTakenBack) {
  const Bytes read = usbipSubmit(1, dataEndpoint, 512);
  const Bytes unlink = usbipUnlink(2, 1);
  EXPECT_LT(growthOver(manyRounds,
                       [&] {
                         feed(read);
                         feed(unlink);
                         takeOutput();
                       }),
            flat);
}

TEST_F(UsbipMemory, IsBoundedForAClientThatTakesNothing) {
  const std::ptrdiff_t before = privateMemory();
  const Bytes call = framedCall();
  std::uint32_t number = 0;
  for (; connection_->wantsInput() && number < 100000; ++number)
    feed(usbipSubmit(number, requestEndpoint, static_cast<std::uint32_t>(call.size())) + call);
  EXPECT_LT(number, 100000U);
  EXPECT_LT(privateMemory() - before, 8 * static_cast<std::ptrdiff_t>(Connection::outputLimit));
}

TEST_F(UsbipMemory, IsBoundedForAClientThatReadsMoreThanTheDeviceSends) {
  const std::ptrdiff_t before = privateMemory();
  const auto large = static_cast<std::uint32_t>(Connection::largestTransfer);
  for (std::uint32_t number = 0; number < 1000; ++number) feed(usbipSubmit(number, dataEndpoint, large));
  EXPECT_LT(privateMemory() - before, static_cast<std::ptrdiff_t>(Connection::memoryLimit) + 8 * flat);
}

}  // namespace
}  // namespace virtualscanner
