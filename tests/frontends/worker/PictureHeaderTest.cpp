#include <gtest/gtest.h>

#include <string>

#include "PictureHeader.h"

namespace {

using frontend::PictureHeader;
using State = PictureHeader::State;

// How many bytes the header takes when they come in pieces of `size`.
std::size_t feed(PictureHeader& header, const std::string& bytes, std::size_t size = std::string::npos) {
  std::size_t taken = 0;
  for (std::size_t at = 0; at < bytes.size(); at += std::min(size, bytes.size() - at)) {
    const std::string piece = bytes.substr(at, size);
    taken += header.feed(reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size());
  }
  return taken;
}

TEST(PictureHeader, ReadsAColourHeaderInPiecesOfAnySize) {
  const std::string text = "P6\n# a comment\n12 34\n255\n";
  for (std::size_t size = 1; size <= text.size() + 6; ++size) {
    PictureHeader header;
    EXPECT_EQ(feed(header, text + "\n\npix\n", size), text.size());
    EXPECT_EQ(header.state(), State::complete);
    EXPECT_EQ(header.width(), 12U);
    EXPECT_EQ(header.height(), 34U);
    EXPECT_EQ(header.bytesPerPixel(), 3U);
    EXPECT_EQ(header.rasterBytes(), 12U * 34 * 3);
  }
}

TEST(PictureHeader, ReadsAGreyHeader) {
  PictureHeader header;
  feed(header, "P5\n\n 7\t 8 \n255\n");
  EXPECT_EQ(header.state(), State::complete);
  EXPECT_EQ(header.rasterBytes(), 56U);
}

TEST(PictureHeader, IsIncompleteUntilItsLastLineFeed) {
  const std::string text = "P6\n# a comment\n12 34\n255\n";
  for (std::size_t length = 0; length < text.size(); ++length) {
    PictureHeader header;
    feed(header, text.substr(0, length));
    EXPECT_EQ(header.state(), State::incomplete) << length;
  }
}

TEST(PictureHeader, SaysWhatIsWrong) {
  const struct {
    std::string text;
    const char* complaint;
  } cases[] = {
      {"GIF89a", "it begins with no header"},
      {std::string(8, '\xFF'), "it begins with no header"},
      {"P4\n#\n8 8\n", "its format is unknown"},
      {"P9\n#\n8 8\n255\n", "its format is unknown"},
      {"P6\n8 8\n255\n", "its header gives no size"},
      {"P6\n#\n8\n255\n", "its header gives no size"},
      {"P6\n#\n0 8\n255\n", "its header gives no size"},
      {"P6\n#\n-5 8\n255\n", "its header gives no size"},
      {"P6\n#\n99999999999999 8\n255\n", "its header gives no size"},
      {"P6\n#\n65536 1\n255\n", "its header gives an impossible size"},
      {"P5\n#\n1 65536\n255\n", "its header gives an impossible size"},
      {"P6\n#\n65535 65535\n255\n", "its header gives an impossible size"},
      {"P6\n#\n8 8\nmany\n", "its header is damaged"},
      {"P6\n" + std::string(5000, 'c'), "it begins with no header"},
  };
  for (const auto& one : cases) {
    PictureHeader header;
    EXPECT_EQ(feed(header, one.text), one.text.size());
    EXPECT_EQ(header.state(), State::wrong) << one.text;
    EXPECT_EQ(header.complaint(), one.complaint) << one.text;
  }
}

TEST(PictureHeader, TakesAnyMaximumAsTheLibraryDoes) {
  PictureHeader header;
  feed(header, "P6\n#\n8 8\n65535\n");
  EXPECT_EQ(header.state(), State::complete);
}

TEST(PictureHeader, TakesTheLargestPageOfTheGlass) {
  PictureHeader header;
  feed(header, "P6\n#\n5100 7014\n255\n");
  EXPECT_EQ(header.rasterBytes(), 107314200U);
}

}  // namespace
