#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "ConversionEnvironment.h"
#include "PageImage.h"
#include "ScanHost.h"
#include "TemporaryFolder.h"
#include "TiffFile.h"

namespace {

using namespace virtualscanner;

class EndToEndPixels : public ScanHost {
 protected:
  // A separate file: the fixed one may be overwritten by another program.
  EndToEndPixels() { conversionEnvironment().tiffPath = folder_ / "scan.tiff"; }
  ~EndToEndPixels() override { conversionEnvironment().tiffPath = fixedPath_; }

  // Checks the page painted at once against the colour of single points, in a grid that covers every column
  // and every row of small scans.
  void expectPointsOfPaper(const std::vector<std::uint8_t>& page, const PageRequest& request) const {
    const std::uint32_t stride = request.imageBytes() < 300000 ? 1 : 41;
    for (std::uint32_t row = 0; row < request.height; row += stride) {
      for (std::uint32_t column = row % stride; column < request.width; column += stride) {
        const Color wanted = paper_->pixelAt(request.resolution, std::int64_t{request.left} + column,
                                             std::int64_t{request.top} + row);
        const std::uint8_t* pixel = &page[row * request.bytesPerRow() + column * request.bytesPerPixel()];
        const bool same =
            request.color ? wanted == Color{pixel[0], pixel[1], pixel[2]} : greyOf(wanted) == *pixel;
        ASSERT_TRUE(same) << "column " << column << " of row " << row;
      }
    }
  }

  // What ReadImage returns: rows of the scan area's width, each with the raster's row after it, the last one
  // with nothing that was ever received.
  std::vector<std::uint8_t> rowsWithLead(const std::vector<std::uint8_t>& page, const PageRequest& request,
                                         std::size_t rowBytes) const {
    std::vector<std::uint8_t> rows(request.height * rowBytes, 0x77);
    const std::size_t copied = std::min(request.bytesPerRow(), rowBytes);
    for (std::size_t row = 0; row < request.height; ++row) {
      const std::size_t source = row * request.bytesPerRow() + copied;
      const std::size_t present = source < page.size() ? std::min(copied, page.size() - source) : 0;
      const auto destination = rows.begin() + static_cast<std::ptrdiff_t>(row * rowBytes);
      std::copy_n(page.begin() + static_cast<std::ptrdiff_t>(source), present, destination);
      std::fill_n(destination + static_cast<std::ptrdiff_t>(present), copied - present, std::uint8_t{0});
    }
    return rows;
  }

  void expectScan(const Settings& settings, const PageRequest& request, std::size_t rowBytes) {
    ASSERT_EQ(scan(settings), 0);
    const TiffFile tiff(conversionEnvironment().tiffPath);
    EXPECT_EQ(scanner_->lastRequest(), request);
    const std::vector<std::uint8_t> page = paintPage(paper_, request);
    expectPointsOfPaper(page, request);
    const ConvertedImage& image = driver().convertedImage();
    EXPECT_EQ(image.rowWidthPixels, request.width);
    EXPECT_EQ(image.rowCount, request.height);
    EXPECT_EQ(image.bytesPerPixel, request.bytesPerPixel());
    EXPECT_TRUE(raster() == page) << "the raster is the page";
    EXPECT_TRUE(tiff.pixels == page) << "the TIFF is the page";
    const std::vector<std::uint8_t> rows = rowsWithLead(page, request, rowBytes);
    const auto chunk = static_cast<std::uint32_t>(rowBytes * 100 + 7);
    EXPECT_TRUE(readImage(rows.size(), chunk) == rows) << "the rows are handed out with their lead";
    EXPECT_EQ(totalBytesRead, rows.size());
  }

  TemporaryFolder folder_;
  const std::string fixedPath_ = conversionEnvironment().tiffPath;
};

TEST_F(EndToEndPixels, AreFoundInTheFixedFile) {
  ASSERT_EQ(fixedPath_, "/tmp/scan.tiff");
  conversionEnvironment().tiffPath = fixedPath_;
  plugIn({});
  expectScan({75, color, oddArea}, {75, true, 20, 48, 229, 264}, 687);
}

TEST_F(EndToEndPixels, ArriveAtEveryResolutionOverTheWholePage) {
  struct Case {
    int resolution;
    std::uint32_t width, height;
  };
  for (const auto& [resolution, width, height] :
       {Case{75, 637, 876}, Case{150, 1275, 1753}, Case{300, 2550, 3507}}) {
    SCOPED_TRACE(resolution);
    plugIn({});
    const auto dpi = static_cast<std::uint32_t>(resolution);
    expectScan({resolution, grey, wholePage}, {dpi, false, 0, 0, width, height}, width);
    expectScan({resolution, color, wholePage}, {dpi, true, 0, 0, width, height}, std::size_t{width} * 3);
  }
}

TEST_F(EndToEndPixels, ArriveAt600OverTheWholePageInGrey) {
  plugIn({});
  expectScan({600, grey, wholePage}, {600, false, 0, 0, 5100, 7014}, 5100);
}

TEST_F(EndToEndPixels, OfA600DpiColorScanAreThoseOf300Dpi) {
  plugIn({});
  expectScan({600, color, wholePage}, {300, true, 0, 0, 2550, 3507}, std::size_t{5100} * 3);
  expectScan({600, color, oddArea}, {300, true, 83, 194, 917, 1057}, std::size_t{1834} * 3);
}

TEST_F(EndToEndPixels, ArriveAtEveryResolutionOverAnOddArea) {
  const PageRequest requests[] = {{75, false, 20, 48, 229, 264},
                                  {150, false, 41, 97, 458, 528},
                                  {300, false, 83, 194, 917, 1057},
                                  {600, false, 166, 388, 1834, 2114}};
  plugIn({});
  for (PageRequest request : requests) {
    SCOPED_TRACE(request.resolution);
    expectScan({static_cast<int>(request.resolution), grey, oddArea}, request, request.width);
    if (request.resolution == 600) continue;  // colour is another matter there
    request.color = true;
    expectScan({static_cast<int>(request.resolution), color, oddArea}, request,
               std::size_t{request.width} * 3);
  }
}

TEST_F(EndToEndPixels, AreWhiteBeyondTheGlass) {
  plugIn({});
  expectScan({75, color, {9600, 13200, 12000, 15600}}, {75, true, 600, 825, 150, 150}, 450);
  EXPECT_THAT(raster().back(), 255);
}

TEST_F(EndToEndPixels, AreTheSameHoweverTheDeviceCutsItsStream) {
  for (const std::uint32_t payload : {1U, 1000U, 65536U}) {
    for (const std::uint32_t transferBytes : {0U, 7U, 512U, 102400U}) {
      for (const auto packets : {ZeroLengthPackets::never, ZeroLengthPackets::whenNeeded}) {
        SCOPED_TRACE(std::to_string(payload) + " in " + std::to_string(transferBytes));
        ScannerOptions options;
        options.packetPayload = payload;
        options.transferBytes = transferBytes;
        options.zeroLengthPackets = packets;
        plugIn(options);
        expectScan({75, color, {1200, 1200, 1600, 1500}}, {75, true, 75, 75, 25, 18}, 75);
      }
    }
  }
}

TEST_F(EndToEndPixels, ArriveFromTheAlternateSettingVariant) {
  ScannerOptions options;
  options.alternateSettings = true;
  options.paintAhead = true;
  plugIn(options);
  EXPECT_EQ(driver().endpointCount(), 13);
  expectScan({75, color, oddArea}, {75, true, 20, 48, 229, 264}, 687);
}

TEST_F(EndToEndPixels, AreThoseOfThePaperOfTheMoment) {
  plugIn({});
  expectScan({75, grey, oddArea}, {75, false, 20, 48, 229, 264}, 229);
  paper_ = Paper::plain({10, 200, 30});
  scanner_->insertPaper(paper_);
  expectScan({75, color, oddArea}, {75, true, 20, 48, 229, 264}, 687);
}

}  // namespace
