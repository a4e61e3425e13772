#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "InPipe.h"
#include "ReplyQueue.h"

namespace virtualscanner {
namespace {

constexpr Transfer silent{TransferStatus::silent};
constexpr Transfer endedAfter(std::size_t moved) {
  return {TransferStatus::done, moved, true};
}
constexpr Transfer openAfter(std::size_t moved) {
  return {TransferStatus::done, moved, false};
}

class Pipe : public testing::TestWithParam<ZeroLengthPackets> {
 protected:
  void queue(std::size_t size) {
    queue_.add(std::vector<std::uint8_t>(size, next_));
    ++next_;
  }
  Transfer read(std::size_t capacity) {
    received_.assign(capacity, 0);
    return pipe_.read(received_.data(), capacity);
  }

  ReplyQueue queue_;
  InPipe pipe_{queue_, GetParam()};
  std::uint8_t next_ = 'a';
  std::vector<std::uint8_t> received_;
};
INSTANTIATE_TEST_SUITE_P(, Pipe, testing::Values(ZeroLengthPackets::never, ZeroLengthPackets::whenNeeded));

TEST_P(Pipe, IsSilentWithNothingToSend) {
  EXPECT_EQ(read(512), silent);
  EXPECT_EQ(read(0), silent);
}

TEST_P(Pipe, EndsAReadWithAShortPacket) {
  queue(7);
  queue(3);
  EXPECT_EQ(read(512), endedAfter(7));
  EXPECT_EQ(received_[6], 'a');
  EXPECT_EQ(read(512), endedAfter(3));
  EXPECT_EQ(received_[0], 'b');
  EXPECT_EQ(read(512), silent);
}

TEST_P(Pipe, FillsSeveralReadsFromOneTransfer) {
  queue(1100);
  EXPECT_EQ(read(512), openAfter(512));
  EXPECT_EQ(read(512), openAfter(512));
  EXPECT_EQ(read(512), endedAfter(76));
}

TEST_P(Pipe, LosesTheRestOfAPacketThatDoesNotFit) {
  queue(600);
  EXPECT_EQ(read(100), (Transfer{TransferStatus::overrun, 100}));
  EXPECT_EQ(read(512), endedAfter(88)) << "the next packet";
  queue(600);
  queue(5);
  EXPECT_EQ(read(520), (Transfer{TransferStatus::overrun, 520}));
  EXPECT_EQ(read(512), endedAfter(5)) << "the packet lost was the transfer's last";
}

TEST_P(Pipe, FitsATransferAsLargeAsTheRoom) {
  queue(600);
  EXPECT_EQ(read(600), endedAfter(600));
  EXPECT_EQ(read(512), silent);
}

TEST_P(Pipe, ForgetsTheTransferUnderWayWhenCleared) {
  queue(1000);
  queue(1024);
  read(512);
  queue_.clear();
  pipe_.clear();
  EXPECT_EQ(read(512), silent);
  queue(3);
  EXPECT_EQ(read(512), endedAfter(3));
}

using WithZeroLengthPackets = Pipe;
INSTANTIATE_TEST_SUITE_P(, WithZeroLengthPackets, testing::Values(ZeroLengthPackets::whenNeeded));

TEST_P(WithZeroLengthPackets, TheEndOfFullPacketsIsSeenInTheSameReadOrTheNext) {
  queue(1024);
  EXPECT_EQ(read(2048), endedAfter(1024));
  EXPECT_EQ(read(512), silent);
  queue(1024);
  queue(9);
  EXPECT_EQ(read(1024), openAfter(1024));
  EXPECT_EQ(read(1024), endedAfter(0));
  EXPECT_EQ(read(1024), endedAfter(9));
}

using WithoutZeroLengthPackets = Pipe;
INSTANTIATE_TEST_SUITE_P(, WithoutZeroLengthPackets, testing::Values(ZeroLengthPackets::never));

TEST_P(WithoutZeroLengthPackets, FullPacketsRunOnIntoTheNextTransfer) {
  queue(512);
  queue(512);
  queue(9);
  EXPECT_EQ(read(2048), endedAfter(1033));
  EXPECT_EQ(received_[511], 'a');
  EXPECT_EQ(received_[512], 'b');
  EXPECT_EQ(received_[1024], 'c');
}

TEST_P(WithoutZeroLengthPackets, FullPacketsWithNothingBehindLeaveTheReadOpen) {
  queue(512);
  EXPECT_EQ(read(2048), openAfter(512));
  EXPECT_EQ(read(512), silent);
}

}  // namespace
}  // namespace virtualscanner
