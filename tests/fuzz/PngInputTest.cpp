#include <gtest/gtest.h>

#include <string>

#include "PngInput.h"

namespace {

using namespace std::string_literals;

const std::string signature = "\x89PNG\r\n\x1a\n";
const std::string header = "\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x05\x08\0\0\0\0"s;  // 3 x 5 pixels
const std::string end = "\0\0\0\0IEND"s;

std::string repaired(std::string file) {
  repairPng(file);
  return file;
}

TEST(PngInput, SetsTheChecksumOfEachChunkRight) {
  const std::string file = signature + header + "????" + end + "????";
  const std::string fixed = repaired(file);
  EXPECT_EQ(fixed.substr(fixed.size() - 4), "\xAE\x42\x60\x82");  // of every PNG's last chunk
  EXPECT_NE(fixed.substr(signature.size() + header.size(), 4), "????");
  EXPECT_EQ(repaired(fixed), fixed);
}

TEST(PngInput, LeavesAloneWhatIsNoPngOrNoWholeChunk) {
  for (const std::string& file :
       {""s, "P6 1 1 255 abc"s, signature, signature + header, signature + "\xFF\0\0\0IEND????"s}) {
    EXPECT_EQ(repaired(file), file);
  }
}

TEST(PngInput, FindsTheAnnouncedPixels) {
  EXPECT_EQ(announcedPixels(signature + header), 15u);
  EXPECT_EQ(announcedPixels(signature + header.substr(0, 15)), 0u);
  EXPECT_EQ(announcedPixels("P6 3 5 255 "), 0u);
}

TEST(PngInput, FindsThePixelsOfAJpegWhereverItsFrameHeaderIs) {
  const std::string start = "\xFF\xD8\xFF\xE0";
  const std::string frame = "\xFF\xC2\0\x0B\x08\0\x03\0\x05"s;  // 5 x 3 pixels
  EXPECT_EQ(announcedPixels(start + frame), 15u);
  EXPECT_EQ(announcedPixels(start + "rubbish" + frame + "more"), 15u);
  EXPECT_EQ(announcedPixels(start + frame.substr(0, 8)), 0u);
}

}  // namespace
