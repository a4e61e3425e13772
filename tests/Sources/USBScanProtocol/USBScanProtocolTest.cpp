#include <algorithm>
#include <cstddef>
#include <random>
#include <type_traits>

#include "PacketStream.h"
#include "USBScanProtocol.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Events = std::vector<std::string>;

class Receiving : public PacketStream {};

TEST(USBScanProtocolCallbacks, IsSevenPointersInTheirOrder) {
  using Record = USBScanProtocolCallbacks;
  constexpr std::size_t field = sizeof(void*);
  EXPECT_TRUE(std::is_standard_layout_v<Record>);
  EXPECT_EQ(sizeof(Record), 7 * field);
  EXPECT_EQ(offsetof(Record, info), 0 * field);
  EXPECT_EQ(offsetof(Record, beginImageJob), 1 * field);
  EXPECT_EQ(offsetof(Record, beginImagePage), 2 * field);
  EXPECT_EQ(offsetof(Record, controlData), 3 * field);
  EXPECT_EQ(offsetof(Record, imageData), 4 * field);
  EXPECT_EQ(offsetof(Record, endImagePage), 5 * field);
  EXPECT_EQ(offsetof(Record, endImageJob), 6 * field);
}

TEST_F(Receiving, DispatchesEachTypeToItsCallback) {
  const struct {
    std::uint8_t type;
    std::string event;
  } rows[] = {{0xAA, "beginImageJob"}, {0xBB, "beginImagePage"}, {0xCC, "control(xyz)"},
              {0xDD, "image(xyz)"},    {0xEE, "endImagePage"},   {0xFF, "endImageJob"}};
  for (const auto& row : rows) {
    feed(packet(row.type, "xyz"));
    EXPECT_THAT(takeEvents(), ElementsAre(row.event));
  }
}

TEST_F(Receiving, ConsumesEveryOtherTypeSilently) {
  for (int type = 0; type <= 0xFF; ++type) {
    if (type >= 0xAA && type % 0x11 == 0) continue;
    feed(packet(static_cast<std::uint8_t>(type), "skipped") + packet(0xBB));
    EXPECT_THAT(takeEvents(), ElementsAre("beginImagePage")) << type;
  }
}

TEST_F(Receiving, ConsumesAPacketWhoseCallbackIsNull) {
  USBScanProtocolCallbacks record = callbacks();
  record.controlData = nullptr;
  record.imageData = nullptr;
  record.beginImageJob = record.beginImagePage = record.endImagePage = nullptr;
  start(record);
  feed(packet(0xAA) + packet(0xBB) + packet(0xCC, "a") + packet(0xDD, "b") + packet(0xEE) + packet(0xFF));
  EXPECT_THAT(takeEvents(), ElementsAre("endImageJob"));
  record.beginImageJob = callbacks().beginImageJob;
  record.endImageJob = nullptr;
  start(record);
  feed(packet(0xFF) + packet(0xAA));
  EXPECT_THAT(takeEvents(), ElementsAre("beginImageJob"));
}

TEST_F(Receiving, CopiesTheCallbacksRecord) {
  USBScanProtocolCallbacks record = callbacks();
  start(record);
  record = {};
  feed(packet(0xCC, "ok"));
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Receiving, KeepsAPartialHeaderUntilTheRestArrives) {
  feed({0xCC, 0, 0, 0, /*length*/ 0, 0, 0});
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed({2, 'o', 'k'});
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Receiving, KeepsAPartialPacketUntilItsLastByteArrives) {
  feed({0xCC, 0, 0, 0, /*length*/ 0, 0, 0, 2, 'o'});
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed({'k'});
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Receiving, TakesALengthOfZeroAsACompletePacket) {
  feed(packet(0xCC) + packet(0xDD));
  EXPECT_THAT(takeEvents(), ElementsAre("control()", "image()"));
}

TEST_F(Receiving, ReadsTheLengthMostSignificantByteFirst) {
  const std::string payload(0x010203, 'x');
  feed({0xDD, 0, 0, 0, 0x00, 0x01, 0x02, 0x03});
  feed(Bytes(payload.begin(), payload.end()));
  EXPECT_THAT(takeEvents(), ElementsAre("image(" + payload + ")"));
}

TEST_F(Receiving, NeverReadsTheReservedBytes) {
  feed({0xCC, 0x12, 0x34, 0xFF, 0, 0, 0, 2, 'o', 'k'});
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Receiving, DispatchesAllCompletePacketsOfAChunkAndKeepsTheRest) {
  feed(packet(0xAA) + packet(0xCC, "one") + packet(0xDD, "two") + Bytes{0xCC, 0, 0});
  EXPECT_THAT(takeEvents(), ElementsAre("beginImageJob", "control(one)", "image(two)"));
  feed({0, 0, 0, 0, 3, 'e', 'n', 'd'});
  EXPECT_THAT(takeEvents(), ElementsAre("control(end)"));
}

TEST_F(Receiving, SkipsWhatMarkersCarry) {
  feed(packet(0xAA, "a") + packet(0xBB, "bb") + packet(0xEE, "cc") + packet(0xFF, "d"));
  EXPECT_THAT(takeEvents(), ElementsAre("beginImageJob", "beginImagePage", "endImagePage", "endImageJob"));
}

TEST_F(Receiving, ChecksNoOrderOfPackets) {
  feed(packet(0xFF) + packet(0xDD, "x") + packet(0xEE) + packet(0xFF) + packet(0xAA));
  EXPECT_THAT(takeEvents(),
              ElementsAre("endImageJob", "image(x)", "endImagePage", "endImageJob", "beginImageJob"));
}

TEST_F(Receiving, IgnoresTheConvertFlag) {
  const Bytes stream = packet(0xCC, "one") + packet(0xDD, std::string("\0\xFF\x01", 3));
  for (const int flag : {0, 1, -1, 127, -128}) {
    feed(stream, static_cast<std::int8_t>(flag));
    EXPECT_THAT(takeEvents(),
                ElementsAre("control(one)", std::string("image(") + std::string("\0\xFF\x01", 3) + ")"));
  }
}

TEST_F(Receiving, TakesANegativeCountOrNoBytesAsAnEmptyChunk) {
  const Bytes stream = packet(0xCC, "ok");
  receiveData(parser, stream.data(), -1, 0);
  receiveData(parser, stream.data(), INT32_MIN, 0);
  receiveData(parser, stream.data(), 0, 0);
  receiveData(parser, nullptr, 10, 0);
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed(stream);
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Receiving, LeavesAPacketAtTheFrontWhoseCallbackThrows) {
  callsUntilThrow = 2;
  EXPECT_THROW(feed(packet(0xAA) + packet(0xCC, "ok") + packet(0xFF)), Enough);
  EXPECT_THAT(takeEvents(), ElementsAre("beginImageJob", "control(ok)"));
  receiveData(parser, nullptr, 0, 0);  // an empty chunk runs the packet loop all the same
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)", "endImageJob"));
}

TEST_F(Receiving, DiscardsAPartialPacketUnseenWhenReleased) {
  feed({0xCC, 0, 0, 0, 0, 0, 0, 2, 'o'});
  start(callbacks());
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed(packet(0xCC, "new"));
  EXPECT_THAT(takeEvents(), ElementsAre("control(new)"));
}

TEST_F(Receiving, KeepsParsersApart) {
  void* other = initUSBScanProtocol(nullptr);
  const Bytes part = {0xCC, 0, 0};
  receiveData(other, part.data(), 3, 0);
  feed(packet(0xCC, "ok"));
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
  releaseUSBScanProtocol(other);
}

// A mixed stream with packets of many sizes, empty and unknown ones among them.
Bytes mixedStream(Events& events, std::vector<std::size_t>& ends) {
  std::mt19937 random(7);
  Bytes stream;
  const struct {
    std::uint8_t type;
    const char* name;
    bool data;
  } kinds[] = {{0xAA, "beginImageJob", false}, {0xBB, "beginImagePage", false}, {0xCC, "control", true},
               {0xDD, "image", true},          {0xEE, "endImagePage", false},   {0xFF, "endImageJob", false},
               {0xAB, nullptr, false}};
  for (int count = 0; count < 40; ++count) {
    const auto& kind = kinds[random() % std::size(kinds)];
    std::string payload(random() % 24, ' ');
    for (char& byte : payload) byte = static_cast<char>(random());
    stream = stream + packet(kind.type, payload);
    if (kind.name == nullptr) continue;
    events.push_back(kind.data ? kind.name + ("(" + payload + ")") : kind.name);
    ends.push_back(stream.size());
  }
  return stream;
}

TEST_F(Receiving, CutsTheStreamTheSameAtEveryChunkSize) {
  Events expected;
  std::vector<std::size_t> ends;
  const Bytes stream = mixedStream(expected, ends);
  for (std::size_t size = 1; size <= stream.size(); ++size) {
    start(callbacks());
    for (std::size_t at = 0; at < stream.size(); at += size) {
      const auto from = stream.begin() + static_cast<std::ptrdiff_t>(at);
      feed(Bytes(from, from + static_cast<std::ptrdiff_t>(std::min(size, stream.size() - at))));
    }
    ASSERT_EQ(takeEvents(), expected) << "in chunks of " << size;
  }
}

TEST_F(Receiving, DispatchesAfterEveryPrefixExactlyWhatIsComplete) {
  Events expected;
  std::vector<std::size_t> ends;
  const Bytes stream = mixedStream(expected, ends);
  for (std::size_t size = 0; size <= stream.size(); ++size) {
    start(callbacks());
    const auto cut = stream.begin() + static_cast<std::ptrdiff_t>(size);
    const auto complete =
        std::count_if(ends.begin(), ends.end(), [=](std::size_t end) { return end <= size; });
    feed(Bytes(stream.begin(), cut));
    ASSERT_EQ(takeEvents(), Events(expected.begin(), expected.begin() + complete)) << "after " << size;
    feed(Bytes(cut, stream.end()));
    ASSERT_EQ(takeEvents(), Events(expected.begin() + complete, expected.end())) << "after " << size;
  }
}

class WrappedLength : public PacketStream {};

TEST_F(WrappedLength, IsCompleteWithItsHeaderAndDropsItsSizeModulo32Bits) {
  const struct {
    std::uint32_t length;
    Events events;  // what is left of the header begins the next packet
  } rows[] = {
      {0xFFFFFFF9, {"image[-7]"}},  // | 0 0 0 FF | FF FF F9 00 |: a length that never arrives
      {0xFFFFFFFA, {"image[-6]"}},  // | 0 0 FF FF | FF FA 00 00 |
      {0xFFFFFFFB, {"image[-5]"}},  // | 0 FF FF FF | FB 00 00 00 |
      {0xFFFFFFFC, {"image[-4]", "endImageJob", "control(ok)"}},  // | FF FF FF FC | 00 00 00 00 |
      {0xFFFFFFFD, {"image[-3]", "endImageJob", "control(ok)"}},
      {0xFFFFFFFE, {"image[-2]", "endImageJob", "control(ok)"}},
      {0xFFFFFFFF, {"image[-1]", "endImageJob", "control(ok)"}},
  };
  for (const auto& row : rows) {
    const Bytes stream = header(0xDD, row.length) + Bytes(row.length - 0xFFFFFFF8, 0) + packet(0xCC, "ok");
    start(callbacks());
    feed(stream);
    EXPECT_EQ(takeEvents(), row.events);
    start(callbacks());
    for (const std::uint8_t byte : stream) feed({byte});
    EXPECT_EQ(takeEvents(), row.events);
  }
}

TEST_F(WrappedLength, WaitsForItsWholeHeader) {
  const Bytes stream = header(0xDD, 0xFFFFFFFC);
  feed(Bytes(stream.begin(), stream.end() - 1));
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed({stream.back()});
  EXPECT_THAT(takeEvents(), ElementsAre("image[-4]"));
}

TEST_F(WrappedLength, Of0xFFFFFFFFDropsSevenBytes) {
  // The eighth byte of the header, 0xFF, is the type of the next packet.
  feed(header(0xCC, 0xFFFFFFFF) + Bytes{0, 0, 0, /*length*/ 0, 0, 0, 1, 'x'} + packet(0xCC, "ok"));
  EXPECT_THAT(takeEvents(), ElementsAre("control[-1]", "endImageJob", "control(ok)"));
}

TEST_F(WrappedLength, GivesAPayloadPointerRightBehindTheHeader) {
  struct Seen {
    const char* bytes;
    int length;
  } seen{};
  USBScanProtocolCallbacks record{};
  record.info = &seen;
  record.imageData = [](void* bytes, int length, void* info) {
    *static_cast<Seen*>(info) = {static_cast<const char*>(bytes), length};
  };
  start(record);
  feed(header(0xDD, 0xFFFFFFF9));
  EXPECT_EQ(seen.length, -7);
  EXPECT_EQ(seen.bytes[-1], '\xF9');  // the last byte of the header
}

TEST_F(WrappedLength, Of0xFFFFFFF8IsDispatchedForEver) {
  callsUntilThrow = 10000;
  EXPECT_THROW(feed(header(0xDD, 0xFFFFFFF8)), Enough);
  const Events events = takeEvents();
  EXPECT_EQ(events.size(), 10000U);
  EXPECT_THAT(events, Each(std::string("image[-8]")));
}

TEST_F(WrappedLength, BelowTheWrapIsAPacketThatNeverBecomesComplete) {
  feed(header(0xDD, 0xFFFFFFF7) + packet(0xCC, "swallowed"));
  feed(packet(0xCC, "swallowed too"));
  EXPECT_THAT(takeEvents(), IsEmpty());
}

// Feeds its parser once more from inside a callback, which no host should do.
struct Feeder {
  void* parser;
  Bytes more;
  int calls;
};

TEST(ReentrantFeeding, ReadsOnlyBytesThatAreThere) {
  Feeder feeder{nullptr, packet(0xCC, std::string(300000, 'm')) + Bytes{0xDD, 0, 0, 0, 0}, 0};
  USBScanProtocolCallbacks record{};
  record.info = &feeder;
  record.imageData = [](void*, int, void* info) {
    auto& self = *static_cast<Feeder*>(info);
    if (++self.calls > 1) return;
    receiveData(self.parser, self.more.data(), static_cast<std::int32_t>(self.more.size()), 0);
  };
  feeder.parser = initUSBScanProtocol(&record);
  const Bytes stream = packet(0xDD, "first");
  receiveData(feeder.parser, stream.data(), static_cast<std::int32_t>(stream.size()), 0);
  EXPECT_EQ(feeder.calls, 2);
  const Bytes rest = {0, 0, 1, 'x'};  // completes what the callback fed last
  receiveData(feeder.parser, rest.data(), 4, 0);
  EXPECT_EQ(feeder.calls, 3);
  releaseUSBScanProtocol(feeder.parser);
}

class Framing : public PacketStream {
 protected:
  Bytes framed(const void* bytes, std::int32_t count) {
    const platform::DataRef data(prepControlDataToSend(parser, bytes, count));
    return Bytes(data->bytes(), data->bytes() + data->length());
  }
};

TEST_F(Framing, OfNoBytesIsAHeaderAlone) {
  const Bytes expected = {0xCC, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(framed("x", 0), expected);
  EXPECT_EQ(framed("x", -1), expected);
  EXPECT_EQ(framed("x", INT32_MIN), expected);
  EXPECT_EQ(framed(nullptr, 5), expected);
}

TEST_F(Framing, PutsTheHeaderBeforeThePayload) {
  const std::string payload(300, 'p');
  const Bytes bytes = framed(payload.data(), 300);
  ASSERT_EQ(bytes.size(), 308U);
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 8), ElementsAre(0xCC, 0, 0, 0, 0x00, 0x00, 0x01, 0x2C));
  EXPECT_EQ(std::string(bytes.begin() + 8, bytes.end()), payload);
}

TEST_F(Framing, WritesAllFourBytesOfTheLength) {
  const Bytes payload(0x01020304);
  const Bytes bytes = framed(payload.data(), 0x01020304);
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 8), ElementsAre(0xCC, 0, 0, 0, 1, 2, 3, 4));
}

TEST_F(Framing, CopiesTheBytesIntoABufferThatOutlivesTheParser) {
  std::string payload = "ok";
  const platform::DataRef data(prepControlDataToSend(parser, payload.data(), 2));
  payload = "no";
  start(callbacks());
  EXPECT_THAT(Bytes(data->bytes(), data->bytes() + data->length()), ElementsAreArray(packet(0xCC, "ok")));
}

TEST_F(Framing, LeavesTheBytesReceivedAlone) {
  feed({0xCC, 0, 0, 0, 0, 0, 0, 2, 'o'});
  framed("between", 7);
  feed({'k'});
  EXPECT_THAT(takeEvents(), ElementsAre("control(ok)"));
}

TEST_F(Framing, IsReadBackByAParser) {
  feed(framed("round trip", 10));
  EXPECT_THAT(takeEvents(), ElementsAre("control(round trip)"));
}

TEST(Handles, OfNullDoNothing) {
  receiveData(nullptr, "x", 1, 0);
  EXPECT_EQ(prepControlDataToSend(nullptr, "x", 1), nullptr);
  releaseUSBScanProtocol(nullptr);
}

TEST(Handles, TakeNullForTheRecordAsNoCallbacks) {
  void* parser = initUSBScanProtocol(nullptr);
  ASSERT_NE(parser, nullptr);
  const Bytes stream = packet(0xAA) + packet(0xCC, "x");
  receiveData(parser, stream.data(), static_cast<std::int32_t>(stream.size()), 0);
  releaseUSBScanProtocol(parser);
}

TEST(Handles, AreTheAddressesOfTheirParsers) {
  void* handle = initUSBScanProtocol(nullptr);
  const platform::DataRef payload(platform::Data::withBytes("ok", 2));
  const platform::DataRef framed(static_cast<USBScanProtocol*>(handle)->prepControlDataToSend(*payload));
  EXPECT_EQ(framed->length(), 10U);
  releaseUSBScanProtocol(handle);
}

}  // namespace
