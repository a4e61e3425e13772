#include <algorithm>

#include "ExportTest.h"
#include "ScriptedImageToolkit.h"

using testing::Contains;
using testing::ElementsAre;

namespace {

// How pixels are copied into the off-screen image. 0xEE is a byte of it that was not written.
class Staging : public ExportTest {
 protected:
  ScriptedImageToolkit toolkit;
};

TEST_F(Staging, TakesColourRowsAsPackedWhateverTheRecordsRowBytes) {
  for (const std::int32_t rowBytes : {0, 3, 4, 1000, -1}) {
    EXPECT_EQ(convert(bitmapSpaceRGB24, 1, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9}, rowBytes), 0);
    EXPECT_THAT(toolkit.staged, ElementsAre(0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9));
  }
}

TEST_F(Staging, TakesGreyRowsAsPackedWhateverTheRecordsRowBytes) {
  for (const std::int32_t rowBytes : {0, 3, 4, 1000, -1}) {
    EXPECT_EQ(convert(bitmapSpaceGrey8, 3, 2, {1, 2, 3, 4, 5, 6}, rowBytes), 0);
    EXPECT_THAT(toolkit.staged, ElementsAre(1, 2, 3, 0xEE, 4, 5, 6, 0xEE));
  }
}

TEST_F(Staging, TakesOneBitRowsOfTheRecordsLength) {
  EXPECT_EQ(convert(bitmapSpaceOneBit, 10, 2, {0xA1, 0xA2, 0xA3, 0xB1, 0xB2, 0xB3}, 3), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(0xA1, 0xA2, 0xA3, 0xEE, 0xB1, 0xB2, 0xB3, 0xEE));
}

TEST_F(Staging, CutsALongerOneBitRowToTheRowOfTheImage) {
  EXPECT_EQ(convert(bitmapSpaceOneBit, 10, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 5), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(1, 2, 3, 4, 6, 7, 8, 9));
}

TEST_F(Staging, ReadsNothingBehindTheLastOneBitRowThatTheImageTakes) {
  const Bytes pixels(1004, 7);  // the second row ends where the image's does
  EXPECT_EQ(convert(bitmapSpaceOneBit, 10, 2, pixels, 1000), 0);
  EXPECT_EQ(toolkit.staged, Bytes(8, 7));
}

TEST_F(Staging, FollowsTheRowsOfTheImage) {
  toolkit.setRowBytes(12, 12);
  EXPECT_EQ(convert(bitmapSpaceRGB24, 2, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(0, 1, 2, 3, 0, 4, 5, 6, 0xEE, 0xEE, 0xEE, 0xEE,  //
                                          0, 7, 8, 9, 0, 10, 11, 12, 0xEE, 0xEE, 0xEE, 0xEE));
  toolkit.setRowBytes(5, 5);
  EXPECT_EQ(convert(bitmapSpaceGrey8, 2, 2, {1, 2, 3, 4}), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(1, 2, 0xEE, 0xEE, 0xEE, 3, 4, 0xEE, 0xEE, 0xEE));
  EXPECT_EQ(convert(bitmapSpaceOneBit, 8, 2, {1, 2}, 1), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(1, 0xEE, 0xEE, 0xEE, 0xEE, 2, 0xEE, 0xEE, 0xEE, 0xEE));
}

TEST_F(Staging, MasksTheFlagsOfARowLengthForGreyAndOneBit) {
  for (const std::uint32_t flags : {0x4000U, 0x8000U, 0xC000U}) {
    toolkit.setRowBytes(4, 4 | flags);
    EXPECT_EQ(convert(bitmapSpaceGrey8, 2, 2, {1, 2, 3, 4}), 0);
    EXPECT_THAT(toolkit.staged, ElementsAre(1, 2, 0xEE, 0xEE, 3, 4, 0xEE, 0xEE));
    EXPECT_EQ(convert(bitmapSpaceOneBit, 8, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 5), 0);
    EXPECT_THAT(toolkit.staged, ElementsAre(1, 2, 3, 4, 6, 7, 8, 9));
  }
}

TEST_F(Staging, TakesTheWholeRowLengthForColour) {
  toolkit.setRowBytes(0x4000, 0x4000);
  EXPECT_EQ(convert(bitmapSpaceRGB24, 1, 2, {1, 2, 3, 4, 5, 6}), 0);
  EXPECT_EQ(Bytes(&toolkit.staged[0x4000], &toolkit.staged[0x4004]), (Bytes{0, 4, 5, 6}));
}

TEST_F(Staging, TakesTheWholeRowLengthWhereAGreyRowNeedsTheBitsOfTheFlags) {
  for (const std::int32_t width : {16380, 16381, 16384, 16387, 32767}) {
    const auto row = static_cast<std::size_t>(width);
    Bytes pixels(row * 2, 1);
    std::fill_n(&pixels[row], row, std::uint8_t{2});
    EXPECT_EQ(convert(bitmapSpaceGrey8, width, 2, pixels), 0);
    const std::size_t stride = (row + 3) / 4 * 4;
    EXPECT_TRUE(Bytes(&toolkit.staged[0], &toolkit.staged[row]) == Bytes(row, 1)) << width;
    EXPECT_TRUE(Bytes(&toolkit.staged[stride], &toolkit.staged[stride] + row) == Bytes(row, 2)) << width;
  }
}

struct Refusal {
  const char* what;
  std::uint32_t space;
  std::int32_t width;
  std::int32_t height;
  std::int32_t rowBytes;

  friend void PrintTo(const Refusal& refusal, std::ostream* stream) { *stream << refusal.what; }
};

class RefusedSize : public Staging, public testing::WithParamInterface<Refusal> {};

TEST_P(RefusedSize, GivesMinus1BeforeAPixelIsRead) {
  const Refusal& refusal = GetParam();
  holdBlock("old");
  const Bytes pixels(1);  // a longer read would be found out by the address sanitizer
  EXPECT_EQ(convert(refusal.space, refusal.width, refusal.height, pixels, refusal.rowBytes), -1);
  EXPECT_EQ(block(), "old");
  EXPECT_THAT(toolkit.calls, ElementsAre("newHandle(0)", "getGWorld()", "setGWorld(host's port, device 77)",
                                         "disposeHandle()"));
}

constexpr std::int32_t smallest = INT32_MIN;
constexpr std::int32_t largest = INT32_MAX;
const Refusal refusals[] = {
    {"NoWidth", bitmapSpaceRGB24, 0, 1, 3},
    {"NoHeight", bitmapSpaceRGB24, 1, 0, 3},
    {"NegativeWidth", bitmapSpaceGrey8, -1, 1, 1},
    {"NegativeHeight", bitmapSpaceGrey8, 1, -1, 1},
    {"SmallestWidth", bitmapSpaceGrey8, smallest, 1, 1},
    {"SmallestHeight", bitmapSpaceOneBit, 1, smallest, 1},
    {"TooWide", bitmapSpaceRGB24, 32768, 1, 98304},
    {"TooHigh", bitmapSpaceGrey8, 1, 32768, 1},
    {"WrappingTo16Bits", bitmapSpaceGrey8, 65537, 65537, 65537},
    {"LargestWidth", bitmapSpaceOneBit, largest, 1, largest},
    {"LargestHeight", bitmapSpaceOneBit, 1, largest, 1},
    {"NoRow", bitmapSpaceOneBit, 1, 1, 0},
    {"NegativeRow", bitmapSpaceOneBit, 8, 1, -1},
    {"SmallestRow", bitmapSpaceOneBit, 8, 1, smallest},
    {"RowShorterByABit", bitmapSpaceOneBit, 9, 1, 1},
    {"RowShorterByAByte", bitmapSpaceOneBit, 16, 1, 1},
    {"WidestRowTooShort", bitmapSpaceOneBit, 32767, 1, 4095},
};
INSTANTIATE_TEST_SUITE_P(Staging, RefusedSize, testing::ValuesIn(refusals),
                         [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(Staging, TellsOfTheColourSpaceBeforeTheSize) {
  EXPECT_EQ(convert(0x2800, 0, 0, {0}), -50);
}

TEST_F(Staging, TakesTheSmallestAndTheLargestSizes) {
  EXPECT_EQ(convert(bitmapSpaceOneBit, 1, 1, {0x80}, 1), 0);
  EXPECT_EQ(convert(bitmapSpaceOneBit, 32767, 1, Bytes(4096, 9), 4096), 0);
  EXPECT_EQ(toolkit.staged, Bytes(4096, 9));
  EXPECT_EQ(convert(bitmapSpaceGrey8, 1, 32767, Bytes(32767, 9)), 0);
  EXPECT_THAT(toolkit.calls, Contains("newGWorld(8, 0 0 32767 1, table 40)"));
  EXPECT_EQ(toolkit.staged.size(), 32767U * 4U);
  EXPECT_EQ(toolkit.staged[32766 * 4], 9);
}

}  // namespace
