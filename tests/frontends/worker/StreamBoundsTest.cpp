#include <gtest/gtest.h>

#include <cstdint>

#include "StreamBounds.h"

namespace {

using frontend::StreamBounds;

constexpr std::uint64_t page = 26'829'450;  // color, 300 dots per inch

TEST(StreamBounds, EndWithTheFourthFailureInARow) {
  StreamBounds bounds(page);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(bounds.noteFailure());
  EXPECT_FALSE(bounds.noteFailure());
}

TEST(StreamBounds, CountFailuresAnewAfterAByteButNotAfterAnEmptyRead) {
  StreamBounds bounds(page);
  for (int i = 0; i < 3; ++i) bounds.noteFailure();
  bounds.noteRead(1);
  EXPECT_TRUE(bounds.noteFailure());
  for (int i = 0; i < 2; ++i) bounds.noteFailure();
  bounds.noteRead(0);
  EXPECT_FALSE(bounds.noteFailure());
}

TEST(StreamBounds, EndWithTheThousandAndFirstEmptyReadInARow) {
  StreamBounds bounds(page);
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(bounds.noteRead(0));
  EXPECT_FALSE(bounds.noteRead(0));
  EXPECT_TRUE(bounds.noteRead(1));
}

TEST(StreamBounds, LetAPageArriveInPacketsOfOneTransactionEach) {
  StreamBounds bounds(page);
  for (std::uint64_t sent = 0; sent < page; sent += 56) {
    ASSERT_TRUE(bounds.notePacket());
    ASSERT_TRUE(bounds.noteRead(64));
  }
}

TEST(StreamBounds, LetATinyPictureArriveByteByByte) {
  StreamBounds bounds(75'000);
  for (int sent = 0; sent < 75'000; ++sent) {
    ASSERT_TRUE(bounds.notePacket());
    ASSERT_TRUE(bounds.noteRead(9));
  }
}

TEST(StreamBounds, EndAPageThatArrivesByteByByte) {
  StreamBounds bounds(page);
  std::uint64_t packets = 0;
  while (bounds.notePacket()) ++packets;
  EXPECT_EQ(packets, 100'000 + page / 16);
  EXPECT_LT(packets, page / 10);
}

TEST(StreamBounds, EndBeyondTwiceThePictureThatWasRequested) {
  for (const std::uint64_t raster : {std::uint64_t{1}, page}) {
    StreamBounds bounds(raster);
    EXPECT_TRUE(bounds.noteRead(static_cast<std::uint32_t>(2 * raster)));
    std::uint64_t more = 0;
    while (bounds.noteRead(1)) ++more;
    // A megabyte, and as many headers as there may be packets.
    EXPECT_EQ(more, 1024 * 1024 + 8 * (100'000 + raster / 16));
  }
}

TEST(StreamBounds, EndWithTooManyMessagesOrTooMuchText) {
  StreamBounds many(page);
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(many.noteMessage(0));
  EXPECT_FALSE(many.noteMessage(0));
  StreamBounds large(page);
  EXPECT_TRUE(large.noteMessage(1024 * 1024));
  EXPECT_TRUE(large.noteMessage(1024 * 1024));
  EXPECT_FALSE(large.noteMessage(1));
}

}  // namespace
