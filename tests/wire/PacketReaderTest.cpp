#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "PacketReader.h"
#include "Packets.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using wire::PacketReader;

class PacketReading : public testing::Test, protected PacketReader::Listener {
 protected:
  bool feed(const std::string& bytes) {
    return reader.feed(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }

  PacketReader reader{*this};
  std::vector<std::string> messages;
  std::string image;
  int imagePackets = 0;
  int jobs = 0;

 private:
  void onControlMessage(std::string_view message) override { messages.emplace_back(message); }
  void onImageBytes(const std::uint8_t* bytes, std::size_t count) override {
    image.append(reinterpret_cast<const char*>(bytes), count);
  }
  void onImagePacketEnd() override { ++imagePackets; }
  void onImageJobEnd() override { ++jobs; }
};

TEST_F(PacketReading, ReportsTheEndOfAJob) {
  feed(packet(0xEE) + packet(0xFF).substr(0, 7));
  EXPECT_EQ(jobs, 0);
  feed(packet(0xFF).substr(7));
  EXPECT_EQ(jobs, 1);
}

TEST_F(PacketReading, DeliversTheSameForEveryChunkSize) {
  const std::string stream = packet(0xAA) + packet(0xCC, "one") + packet(0xDD, "pixels") +
                             packet(0x00, "unknown") + packet(0xDD, "more") + packet(0xCC, "two") +
                             packet(0xFF);
  for (std::size_t size = 1; size <= stream.size(); ++size) {
    messages.clear();
    image.clear();
    for (std::size_t at = 0; at < stream.size(); at += size) EXPECT_TRUE(feed(stream.substr(at, size)));
    EXPECT_THAT(messages, ElementsAre("one", "two")) << size;
    EXPECT_EQ(image, "pixelsmore") << size;
  }
}

TEST_F(PacketReading, DeliversImageBytesBeforeTheirPacketIsComplete) {
  feed(packet(0xDD, "pixels").substr(0, 10));
  EXPECT_EQ(image, "pi");
  EXPECT_EQ(imagePackets, 0);
  feed("xels");
  EXPECT_EQ(imagePackets, 1);
}

TEST_F(PacketReading, DeliversEmptyPacketsAtOnce) {
  feed(packet(0xCC) + packet(0xDD));
  EXPECT_THAT(messages, ElementsAre(""));
  EXPECT_EQ(imagePackets, 1);
}

TEST_F(PacketReading, ReportsWhetherAPacketHasBegun) {
  EXPECT_FALSE(reader.insidePacket());
  feed(packet(0xCC, "ab").substr(0, 1));
  EXPECT_TRUE(reader.insidePacket());
  feed(packet(0xCC, "ab").substr(1));
  EXPECT_FALSE(reader.insidePacket());
}

TEST_F(PacketReading, IgnoresTheReservedBytes) {
  feed(std::string("\xCC\x01\x02\x03\0\0\0\1x", 9));
  EXPECT_THAT(messages, ElementsAre("x"));
}

TEST_F(PacketReading, RejectsLengthsThatNoPacketHas) {
  const struct {
    std::uint8_t type;
    std::uint32_t length;
    bool fine;
  } cases[] = {
      {0xDD, PacketReader::largestPayload, true},
      {0xDD, PacketReader::largestPayload + 1, false},
      {0xDD, 0xFFFFFFF8, false},
      {0xDD, 0xFFFFFFFF, false},
      {0x00, PacketReader::largestPayload, true},
      {0x00, 0x80000000, false},
      {0xCC, PacketReader::largestMessage, true},
      {0xCC, PacketReader::largestMessage + 1, false},
  };
  for (const auto& one : cases) {
    PacketReader fresh(*this);
    const std::string header = packetHeader(one.type, one.length);
    EXPECT_EQ(fresh.feed(reinterpret_cast<const std::uint8_t*>(header.data()), header.size()), one.fine)
        << int{one.type} << " " << one.length;
  }
}

TEST_F(PacketReading, DeliversWhatPrecedesAnUnreadableHeaderAndNothingAfterIt) {
  EXPECT_FALSE(feed(packet(0xCC, "before") + packetHeader(0xDD, 0xFFFFFFF8) + packet(0xCC, "after")));
  EXPECT_FALSE(feed(packet(0xCC, "later")));
  EXPECT_THAT(messages, ElementsAre("before"));
}

TEST_F(PacketReading, AcceptsAnEmptyChunk) {
  EXPECT_TRUE(feed(""));
  EXPECT_THAT(messages, IsEmpty());
}

TEST_F(PacketReading, BoundsPacketsOfEveryTypeByTheLimitThatItIsGiven) {
  for (const std::uint8_t type : {wire::controlData, wire::imageData, wire::endImagePage}) {
    for (const std::uint32_t length : {10U, 11U}) {
      PacketReader small(*this, /*largest*/ 10);
      const std::string header = packetHeader(type, length);
      EXPECT_EQ(small.feed(reinterpret_cast<const std::uint8_t*>(header.data()), header.size()), length == 10)
          << int{type} << " " << length;
    }
  }
}

TEST_F(PacketReading, BeginsANewPacketAfterAReset) {
  for (const std::string& left :
       {packet(0xCC, "ab").substr(0, 3), packet(0xCC, "ab").substr(0, 9), packetHeader(0xDD, 0xFFFFFFF8)}) {
    messages.clear();
    feed(left);
    reader.reset();
    EXPECT_FALSE(reader.insidePacket());
    EXPECT_TRUE(feed(packet(0xCC, "next")));
    EXPECT_THAT(messages, ElementsAre("next"));
  }
}

}  // namespace
