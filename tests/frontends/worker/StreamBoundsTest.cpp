#include <gtest/gtest.h>

#include "PictureHeader.h"
#include "StreamBounds.h"

namespace {

using frontend::StreamBounds;

TEST(StreamBounds, EndWithTheFourthFailureInARow) {
  StreamBounds bounds;
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(bounds.noteFailure());
  EXPECT_FALSE(bounds.noteFailure());
}

TEST(StreamBounds, CountFailuresAnewAfterAByteButNotAfterAnEmptyRead) {
  StreamBounds bounds;
  for (int i = 0; i < 3; ++i) bounds.noteFailure();
  bounds.noteRead(1);
  EXPECT_TRUE(bounds.noteFailure());
  for (int i = 0; i < 2; ++i) bounds.noteFailure();
  bounds.noteRead(0);
  EXPECT_FALSE(bounds.noteFailure());
}

TEST(StreamBounds, EndWithTheThousandAndFirstEmptyReadInARow) {
  StreamBounds bounds;
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(bounds.noteRead(0));
  EXPECT_FALSE(bounds.noteRead(0));
  EXPECT_TRUE(bounds.noteRead(1));
}

TEST(StreamBounds, EndBeyondTwiceTheLargestPicture) {
  StreamBounds bounds;
  EXPECT_TRUE(bounds.noteRead(frontend::PictureHeader::largestRaster));
  EXPECT_TRUE(bounds.noteRead(frontend::PictureHeader::largestRaster));
  EXPECT_FALSE(bounds.noteRead(1));
}

}  // namespace
