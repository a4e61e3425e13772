#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Bitmap.h"
#include "FileSizeLimit.h"
#include "RecordingLogSink.h"
#include "TemporaryFolder.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class FullDisk : public testing::Test {
 protected:
  FullDisk() { writeContent(name, "old"); }

  bool writeWithRoomFor(rlim_t bytes) {
    const platform::Bitmap bitmap{
        pixels.data(), pixels.size(), 1000, 1000, 8, 1, 1000, platform::kNSDeviceWhiteColorSpace};
    const FileSizeLimit limit(bytes);
    return platform::writeTIFF(bitmap, name);
  }

  TemporaryFolder folder;
  const std::string name = folder / "page.tiff";
  const std::vector<std::uint8_t> pixels = std::vector<std::uint8_t>(1000000, 0x55);
  RecordingLogSink sink;
};

TEST_F(FullDisk, KeepsTheOldFileWhereverTheRoomEnds) {
  constexpr rlim_t pixelsAndHeader = 1000008;
  for (const rlim_t room :
       {rlim_t{0}, rlim_t{4}, rlim_t{8}, rlim_t{300000}, pixelsAndHeader, pixelsAndHeader + 20}) {
    EXPECT_FALSE(writeWithRoomFor(room)) << room;
    EXPECT_EQ(contentOf(name), "old");
    EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
  }
  EXPECT_TRUE(writeWithRoomFor(1100000));
}

TEST_F(FullDisk, SendsTheTiffLibrarysMessagesToTheLog) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(writeWithRoomFor(300000));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(sink.lines, Contains(HasSubstr("Write error")));
}

int handlerCalls = 0;

TEST_F(FullDisk, LeavesTheProcessesOwnMessageHandlersAlone) {
  const TIFFErrorHandler before =
      TIFFSetErrorHandler([](const char*, const char*, va_list) { ++handlerCalls; });
  EXPECT_FALSE(writeWithRoomFor(300000));
  EXPECT_EQ(handlerCalls, 0);
  EXPECT_EQ(TIFFOpen((folder / "nothing").c_str(), "r"), nullptr);
  EXPECT_EQ(handlerCalls, 1);
  TIFFSetErrorHandler(before);
}

TEST_F(FullDisk, LogsNothingWhereAllIsWell) {
  EXPECT_TRUE(writeWithRoomFor(1100000));
  EXPECT_THAT(sink.lines, IsEmpty());
}

}  // namespace
