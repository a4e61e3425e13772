#include <vector>

#include "DriverFixture.h"
#include "HostInC.h"
#include "ScannerInterface.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr int grey = 2;
constexpr int color = 1;
constexpr unsigned char untouched = 0xEE;

// Scans pictures of any size into areas of any size and reads them as a host does.
class ReadingAnImage : public DriverFixture {
 protected:
  ReadingAnImage() { openScanner(); }
  void setArea(int mode, int width, int height) {
    driver->setScanParameter(75, 75, mode, 0, 0, width, height);
  }
  void scanInto(const std::string& picture) {
    totalBytesRead = 0;
    ASSERT_EQ(scan(picture), 0);
  }
  // What a request for `size` bytes leaves in a buffer of that size.
  std::vector<int> read(std::uint32_t size) {
    std::vector<unsigned char> buffer(size, untouched);
    EXPECT_EQ(ReadImage(reinterpret_cast<intptr_t>(driver.get()), buffer.data(), size, &delivered), 0);
    return {buffer.begin(), buffer.end()};
  }

  // What the loop of a host makes of a page, which has one byte more than the loop may write.
  std::uint32_t readAsAHost(std::uint32_t rowBytes, std::uint32_t rows) {
    page.assign(std::size_t{rowBytes} * rows + 1, untouched);
    return readPage(reinterpret_cast<intptr_t>(driver.get()), page.data(), rowBytes, rows);
  }

  std::uint32_t delivered = 0;
  std::vector<unsigned char> page;
};

TEST_F(ReadingAnImage, HandsRowsOutFromOneCopyLengthPastTheCursor) {
  setArea(grey, 4, 3);
  scanInto(greymap(4, 3, countingBytes(12)));
  // The last row lies past the image, where nothing is: zeros.
  EXPECT_THAT(read(12), ElementsAre(5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 0));
  EXPECT_EQ(delivered, 12U);
  EXPECT_EQ(totalBytesRead, 12U);
}

TEST_F(ReadingAnImage, HandsOutWholeRowsOnly) {
  setArea(grey, 4, 3);
  scanInto(greymap(4, 3, countingBytes(12)));
  EXPECT_THAT(read(7), ElementsAre(5, 6, 7, 8, untouched, untouched, untouched));
  EXPECT_EQ(delivered, 4U);
  EXPECT_THAT(read(9), ElementsAre(9, 10, 11, 12, 0, 0, 0, 0, untouched));
  EXPECT_EQ(delivered, 8U);
  EXPECT_EQ(totalBytesRead, 12U);
}

TEST_F(ReadingAnImage, ReportsOneRowsWorthWhereTheRequestIsSmallerThanARow) {
  setArea(color, 4, 3);
  scanInto(pixmap(4, 3, countingBytes(36)));
  EXPECT_THAT(read(11), Each(untouched));
  EXPECT_EQ(delivered, 12U);
  EXPECT_EQ(totalBytesRead, 12U);
}

TEST_F(ReadingAnImage, ReportsOneRowsWorthAgainAndAgainAfterTheLastRow) {
  setArea(grey, 4, 2);
  scanInto(greymap(4, 2, countingBytes(8)));
  read(8);
  for (std::uint32_t times = 1; times <= 3; ++times) {
    EXPECT_THAT(read(8), Each(untouched));
    EXPECT_EQ(delivered, 4U);
    EXPECT_EQ(totalBytesRead, 8 + times * 4);
  }
}

TEST_F(ReadingAnImage, LeavesTheEndOfADestinationRowUnwrittenWhereTheSourceRowIsShorter) {
  setArea(grey, 5, 2);
  scanInto(greymap(3, 2, countingBytes(6)));
  EXPECT_THAT(read(10), ElementsAre(4, 5, 6, untouched, untouched, 0, 0, 0, untouched, untouched));
  EXPECT_EQ(delivered, 10U);
}

TEST_F(ReadingAnImage, CutsASourceRowThatIsLongerThanTheDestinationRow) {
  setArea(grey, 2, 2);
  scanInto(greymap(5, 2, countingBytes(10)));
  // The lead is one copy length (2), the step from row to row the source's own (5).
  EXPECT_THAT(read(4), ElementsAre(3, 4, 8, 9));
}

TEST_F(ReadingAnImage, MovesColourRowsByThreeBytesPerPixel) {
  setArea(color, 2, 2);
  scanInto(pixmap(2, 2, countingBytes(12)));
  EXPECT_THAT(read(12), ElementsAre(7, 8, 9, 10, 11, 12, 0, 0, 0, 0, 0, 0));
}

TEST_F(ReadingAnImage, StopsAtTheRowsThatWereConverted) {
  setArea(grey, 2, 4);
  scanInto(greymap(2, 2, countingBytes(4)));
  EXPECT_THAT(read(8), ElementsAre(3, 4, 0, 0, untouched, untouched, untouched, untouched));
  EXPECT_EQ(delivered, 4U);
}

TEST_F(ReadingAnImage, StopsAtTheBytesThatTheAreaMakes) {
  setArea(grey, 2, 1);
  scanInto(greymap(2, 3, countingBytes(6)));
  EXPECT_THAT(read(6), ElementsAre(3, 4, untouched, untouched, untouched, untouched));
  EXPECT_EQ(delivered, 2U);
  // Nothing remains by the count, though rows do: none is copied, one is reported.
  EXPECT_THAT(read(6), Each(untouched));
  EXPECT_EQ(delivered, 2U);
  // Past the count the remainder wraps to a huge one, and the rows are delivered after all.
  EXPECT_THAT(read(6), ElementsAre(5, 6, 0, 0, untouched, untouched));
  EXPECT_EQ(delivered, 4U);
}

TEST_F(ReadingAnImage, UsesTheBytesPerPixelThatTheConversionReported) {
  setArea(color, 2, 3);
  scanInto(greymap(2, 3, countingBytes(6)));
  // The byte count (18) was computed with 3 bytes per pixel, the rows are 2 bytes long now.
  EXPECT_EQ(driver->imageByteCount(), 18U);
  EXPECT_THAT(read(6), ElementsAre(3, 4, 5, 6, 0, 0));
  EXPECT_EQ(delivered, 6U);
}

TEST_F(ReadingAnImage, ReadsARasterShorterThanItsHeaderAsZeros) {
  setArea(grey, 4, 4);
  scanInto(greymap(4, 4, countingBytes(6)));
  EXPECT_THAT(read(16), ElementsAre(5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(ReadingAnImage, StaysInsideARasterWhoseLengthWrapped) {
  setArea(grey, 65536, 65537);
  // 65536 x 65537 bytes are 65536 modulo 2^32: one row in memory, 65537 rows by the header.
  scanInto(greymap(65536, 65537, countingBytes(65536)));
  EXPECT_EQ(driver->convertedImage().length, 65536U);
  EXPECT_EQ(driver->convertedImage().rowCount, 65537U);
  EXPECT_EQ(driver->imageByteCount(), 65536U);
  EXPECT_THAT(read(65536), Each(0));
  EXPECT_EQ(delivered, 65536U);
}

TEST_F(ReadingAnImage, HandsOutNothingBeforeAScan) {
  setArea(grey, 4, 3);
  EXPECT_THAT(read(12), Each(untouched));
  EXPECT_EQ(delivered, 4U);
}

TEST_F(ReadingAnImage, HandsOutNothingAfterDisable) {
  setArea(grey, 4, 3);
  scanInto(greymap(4, 3, countingBytes(12)));
  driver->abortScan();
  EXPECT_THAT(read(12), Each(untouched));
  EXPECT_EQ(delivered, 4U);
}

TEST_F(ReadingAnImage, ReportsNothingWhereRowsHaveNoBytes) {
  setArea(grey, 0, 3);
  EXPECT_THAT(read(12), Each(untouched));
  EXPECT_EQ(delivered, 0U);
  setArea(color, 4, 3);
  scanInto("P9\n#\n4 3\n255\n" + countingBytes(12));  // an empty format: 0 bytes per pixel
  EXPECT_THAT(read(12), Each(untouched));
  EXPECT_EQ(delivered, 0U);
}

TEST_F(ReadingAnImage, ReportsRowsOfANegativeWidthModulo32Bits) {
  setArea(color, -1, 1);
  EXPECT_THAT(read(12), Each(untouched));
  EXPECT_EQ(delivered, 0xFFFFFFFDU);
}

TEST_F(ReadingAnImage, BeginsAnewWithTheNextScan) {
  setArea(grey, 2, 2);
  scanInto(greymap(2, 2, countingBytes(4)));
  read(2);
  scanInto(greymap(2, 2, countingBytes(4, 100)));
  EXPECT_THAT(read(4), ElementsAre(102, 103, 0, 0));
}

TEST_F(ReadingAnImage, KeepsTheWholeRasterForThoseWhoLinkTheDriver) {
  setArea(color, 2, 2);
  scanInto(pixmap(2, 2, countingBytes(12)));
  const ConvertedImage& image = driver->convertedImage();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(image.pixels), image.length), countingBytes(12));
  EXPECT_EQ(image.rowWidthPixels, 2U);
  EXPECT_EQ(image.rowCount, 2U);
  EXPECT_EQ(image.bytesPerPixel, 3U);
}

TEST_F(ReadingAnImage, GivesAHostThePageFromItsSecondRowOn) {
  constexpr int rows = 150;  // more than two bands of the host's loop
  setArea(grey, 3, rows);
  const std::string picture = countingBytes(3 * rows);
  scanInto(greymap(3, rows, picture));
  EXPECT_EQ(readAsAHost(3, rows), rows - 1U);
  EXPECT_EQ(std::string(page.begin(), page.begin() + 3 * (rows - 1)), picture.substr(3));
  EXPECT_EQ(page.back(), untouched);
}

TEST_F(ReadingAnImage, LeavesWhatNeverCameWhiteForAHost) {
  setArea(grey, 2, 4);
  scanInto(greymap(2, 2, countingBytes(4)));
  EXPECT_EQ(readAsAHost(2, 4), 3U);
  EXPECT_THAT(page, ElementsAre(3, 4, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, untouched));
}

TEST_F(ReadingAnImage, EndsTheLoopOfAHostWhereThereAreNoPixels) {
  setArea(grey, 2, 4);
  scanInto("P9\n#\n2 4\n255\n" + countingBytes(8));
  EXPECT_EQ(readAsAHost(2, 4), 0U);
}

TEST_F(ReadingAnImage, EndsTheLoopOfAHostThatAskedForAnotherKindOfPicture) {
  setArea(grey, 2, 4);
  scanInto(pixmap(2, 4, countingBytes(24)));
  EXPECT_EQ(readAsAHost(2, 1), 0U);
}

TEST_F(ReadingAnImage, NeedsNoPlaceForTheCountOrTheBytes) {
  setArea(grey, 2, 2);
  scanInto(greymap(2, 2, countingBytes(4)));
  EXPECT_EQ(ReadImage(reinterpret_cast<intptr_t>(driver.get()), nullptr, 2, nullptr), 0);
  EXPECT_EQ(totalBytesRead, 2U);
}

}  // namespace
