#include <new>

#include "AllocationCounter.h"
#include "ByteBlock.h"
#include "PacketStream.h"

namespace {

using allocations::Since;
using platform::ByteBlock;
using testing::ElementsAre;
using testing::IsEmpty;

// The room of all byte blocks since it was made.
class RoomSince {
 public:
  std::size_t reserved() const { return ByteBlock::totals().reserved - start_.reserved; }
  std::uint64_t relocated() const { return ByteBlock::totals().relocated - start_.relocated; }

 private:
  ByteBlock::Totals start_ = ByteBlock::totals();
};

void receiveInChunks(void* parser, const Bytes& stream, std::size_t chunk) {
  for (std::size_t at = 0; at < stream.size(); at += chunk) {
    receiveData(parser, stream.data() + at, static_cast<std::int32_t>(std::min(chunk, stream.size() - at)),
                0);
  }
}

Bytes imagePackets(std::size_t count, std::size_t payload) {
  const Bytes one = packet(0xDD, std::string(payload, 'i'));
  Bytes stream;
  stream.reserve(count * one.size());
  for (std::size_t made = 0; made < count; ++made) stream.insert(stream.end(), one.begin(), one.end());
  return stream;
}

// What stays allocated after a parser has received `stream` and been released.
struct Remains {
  std::ptrdiff_t objects;
  std::ptrdiff_t objectBytes;
  std::size_t bufferBytes;
  std::uint64_t relocated;
  std::size_t allocations;
};

Remains remainsAfter(const Bytes& stream, std::size_t chunk) {
  const Since since;
  const RoomSince room;
  void* parser = initUSBScanProtocol(nullptr);
  receiveInChunks(parser, stream, chunk);
  releaseUSBScanProtocol(parser);
  return {since.objects(), since.bytes(), room.reserved(), room.relocated(), since.made()};
}

class ParserMemory : public testing::Test {
 protected:
  // The first release makes the dump file's object, which is none of the parser's.
  ParserMemory() { releaseUSBScanProtocol(initUSBScanProtocol(nullptr)); }
};

TEST_F(ParserMemory, KeepsOnlyTheParserObjectOfAnUnusedParser) {
  const Remains remains = remainsAfter({}, 1);
  EXPECT_EQ(remains.objects, 1);
  EXPECT_EQ(remains.bufferBytes, 0U);
}

TEST_F(ParserMemory, GivesBackTheBufferThatNoPacketHasReplaced) {
  const Remains remains = remainsAfter({0xCC, 0, 0, 0, 0, 0, 0, 2, 'o'}, 4);
  EXPECT_EQ(remains.objects, 1);
  EXPECT_EQ(remains.bufferBytes, 0U);
}

TEST_F(ParserMemory, KeepsEveryReplacementBuffer) {
  const std::ptrdiff_t afterOne = remainsAfter(imagePackets(1, 5), 13).objects;
  EXPECT_GE(afterOne, 2);  // the parser and the buffer
  EXPECT_EQ(remainsAfter(imagePackets(2, 5), 13).objects, afterOne + 1);
  EXPECT_EQ(remainsAfter(imagePackets(100, 5), 13).objects, afterOne + 99);
  EXPECT_EQ(remainsAfter(imagePackets(100, 5), 1300).objects, afterOne + 99);
}

TEST_F(ParserMemory, KeepsTheBytesReceivedAndASmallConstantForEachPacket) {
  constexpr std::size_t page = 65536;
  for (const std::size_t payload : {0U, 1U, 1000U, 65536U}) {
    for (const std::size_t chunk : {64U, 102400U, 150000U}) {
      const Bytes stream = imagePackets(1 + 1000000 / (payload + 8), payload);
      const Remains remains = remainsAfter(stream, chunk);
      const std::size_t packets = stream.size() / (payload + 8);
      EXPECT_LE(remains.bufferBytes, stream.size() + page) << payload << " in " << chunk;
      EXPECT_LE(remains.objectBytes, static_cast<std::ptrdiff_t>(64 * packets + 1024)) << payload;
    }
  }
}

TEST_F(ParserMemory, NeedsNoMultipleOfALargeImageAtItsPeak) {
  const Bytes stream = imagePackets(550, 65536);  // 36 MB
  const RoomSince room;
  void* parser = initUSBScanProtocol(nullptr);
  std::size_t peak = 0;
  for (std::size_t at = 0; at < stream.size(); at += 102400) {
    receiveData(parser, stream.data() + at,
                static_cast<std::int32_t>(std::min<std::size_t>(102400, stream.size() - at)), 0);
    peak = std::max(peak, room.reserved());
  }
  releaseUSBScanProtocol(parser);
  // Room not yet used is address space only; none of it is a second copy.
  EXPECT_LE(peak, 2 * stream.size());
  EXPECT_LE(room.relocated(), 2 * ByteBlock::mappedFrom);
  EXPECT_LE(room.reserved(), stream.size() + 65536);
}

TEST_F(ParserMemory, CostsOneObjectForEachPacketHoweverManyAreInAChunk) {
  const Remains whole = remainsAfter(imagePackets(12800, 0), 102400);
  EXPECT_LE(whole.allocations, 12800U + 10);
  EXPECT_EQ(whole.relocated, 0U);  // no packet moves what follows it
  const Remains ten = remainsAfter(imagePackets(128000, 0), 102400);
  EXPECT_LE(ten.allocations, 128000U + 10);
  EXPECT_LE(ten.relocated, 2 * ByteBlock::mappedFrom);
}

TEST_F(ParserMemory, GrowsWithWhatArrivesAndNotWithWhatIsAnnounced) {
  const RoomSince room;
  void* parser = initUSBScanProtocol(nullptr);
  receiveInChunks(parser, header(0xDD, 0x7FFFFFFF) + Bytes(1000, 'x'), 100);
  EXPECT_LE(room.reserved(), 2 * 1008U);
  releaseUSBScanProtocol(parser);
}

TEST_F(ParserMemory, DoesNotGrowWhileAPacketIsDispatchedForEver) {
  struct Counter {
    int calls = 0;
    Since since;
    RoomSince room;
    std::size_t made[2] = {};
  } counter;
  USBScanProtocolCallbacks record{};
  record.info = &counter;
  record.imageData = [](void*, int, void* info) {
    auto& self = *static_cast<Counter*>(info);
    if (++self.calls == 1) self.made[0] = self.since.made();
    if (self.calls < 100000) return;
    self.made[1] = self.since.made();
    throw Enough();
  };
  void* parser = initUSBScanProtocol(&record);
  EXPECT_THROW(receiveInChunks(parser, header(0xDD, 0xFFFFFFF8), 8), Enough);
  EXPECT_EQ(counter.made[0], counter.made[1]);
  EXPECT_EQ(counter.room.reserved(), 8U);
  releaseUSBScanProtocol(parser);
}

class OutOfMemory : public PacketStream {
 protected:
  ~OutOfMemory() override { allocations::failNth(0); }
};

TEST_F(OutOfMemory, GivesNoHandle) {
  for (const int nth : {1, 2}) {  // the parser, its buffer
    const Since since;
    const USBScanProtocolCallbacks record = callbacks();
    allocations::failNth(nth);
    EXPECT_EQ(initUSBScanProtocol(&record), nullptr) << nth;
    EXPECT_EQ(since.objects(), 0);
  }
}

TEST_F(OutOfMemory, GivesNoFramedData) {
  for (const int nth : {1, 2}) {  // the object, its bytes
    const Since since;
    allocations::failNth(nth);
    EXPECT_EQ(prepControlDataToSend(parser, "x", 1), nullptr) << nth;
    EXPECT_EQ(since.objects(), 0);
  }
}

TEST_F(OutOfMemory, DropsTheChunk) {
  const Bytes stream = packet(0xCC, "ok");
  allocations::failNth(1);
  receiveData(parser, stream.data(), static_cast<std::int32_t>(stream.size()), 0);
  EXPECT_THAT(takeEvents(), IsEmpty());
  feed(packet(0xCC, "next"));
  EXPECT_THAT(takeEvents(), ElementsAre("control(next)"));
}

TEST(OutOfMemoryAtRemoval, KeepsThePacketForTheNextChunk) {
  int calls = 0;
  USBScanProtocolCallbacks record{};
  record.info = &calls;
  record.beginImageJob = [](void* info) {
    if (++*static_cast<int*>(info) == 1) allocations::failNth(1);
  };
  void* parser = initUSBScanProtocol(&record);
  const Bytes stream = packet(0xAA);
  receiveData(parser, stream.data(), 8, 0);
  EXPECT_EQ(calls, 1);
  receiveData(parser, nullptr, 0, 0);
  EXPECT_EQ(calls, 2);
  receiveData(parser, nullptr, 0, 0);
  EXPECT_EQ(calls, 2);
  releaseUSBScanProtocol(parser);
}

TEST(OutOfMemoryInACallback, ComesOut) {
  USBScanProtocolCallbacks record{};
  record.endImageJob = [](void*) { throw std::bad_alloc(); };
  void* parser = initUSBScanProtocol(&record);
  const Bytes stream = packet(0xFF);
  EXPECT_THROW(receiveData(parser, stream.data(), 8, 0), std::bad_alloc);
  releaseUSBScanProtocol(parser);
}

}  // namespace
