#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "TemporaryFile.h"
#include "TemporaryFolder.h"
#include "TiffStream.h"

using platform::TemporaryFile;
using platform::TiffStream;

namespace {

class TiffStreamTest : public testing::Test {
 protected:
  void write(const std::string& text) {
    EXPECT_EQ(stream.write(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()), text.size());
  }
  std::string content() {
    EXPECT_TRUE(stream.finish());
    return contentOf(file.path());
  }

  TemporaryFolder folder;
  TemporaryFile file{folder / "page.tiff"};
  TiffStream stream{file};
};

TEST_F(TiffStreamTest, KeepsTheOrderOfSmallAndLargePieces) {
  const std::string large(100000, 'L');
  write("small");
  write(large);
  write("after");
  EXPECT_EQ(stream.size(), 100010U);
  EXPECT_EQ(content(), "small" + large + "after");
}

TEST_F(TiffStreamTest, GathersPiecesBeyondItsOwnRoom) {
  std::string expected;
  for (int piece = 0; piece < 10000; ++piece) {
    const std::string text = std::to_string(piece) + " and on ";
    write(text);
    expected += text;
  }
  EXPECT_EQ(content(), expected);
}

TEST_F(TiffStreamTest, WritesOverWhatItWroteBefore) {
  write("0123456789");
  stream.seek(4);
  write("four");
  stream.seek(10);
  write("end");
  EXPECT_EQ(stream.size(), 13U);
  EXPECT_EQ(content(), "0123four89end");
}

TEST_F(TiffStreamTest, LeavesAHoleForItsZeros) {
  write("a");
  EXPECT_EQ(stream.write(TiffStream::zeros(), 3), 3U);
  write("b");
  EXPECT_EQ(content(), std::string("a\0\0\0b", 5));
}

TEST_F(TiffStreamTest, WritesToAnythingThatTakesBytesAtAnOffset) {
  std::string pieces;
  TiffStream other([&pieces](std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
    pieces += std::to_string(offset) + ":" + std::string(bytes, bytes + count) + " ";
    return true;
  });
  const std::uint8_t text[] = {'a', 'b', 'c'};
  other.write(text, 3);
  other.seek(10);
  other.write(text, 2);
  EXPECT_TRUE(other.finish());
  EXPECT_EQ(pieces, "0:abc 10:ab ");
}

TEST_F(TiffStreamTest, FailsForGoodAfterAFailedWrite) {
  TemporaryFile none;
  TiffStream broken(none);
  const std::string large(100000, 'L');
  EXPECT_EQ(broken.write(reinterpret_cast<const std::uint8_t*>(large.data()), large.size()), 0U);
  EXPECT_FALSE(broken.finish());
}

}  // namespace
