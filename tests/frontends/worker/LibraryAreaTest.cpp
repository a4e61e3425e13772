#include <gtest/gtest.h>

#include "Bed.h"
#include "CScannerDriver.h"
#include "LibraryArea.h"
#include "ScannerInterface.h"

namespace {

using namespace frontend;

// What the library makes of an area.
PixelArea throughTheLibrary(CScannerDriver& driver, const PixelArea& area, std::uint32_t resolution) {
  const LibraryArea edges = libraryArea(area, resolution);
  const auto dpi = static_cast<std::int32_t>(resolution);
  SetScanParameterEx(reinterpret_cast<std::intptr_t>(&driver), dpi, dpi, 2, edges.left, edges.top,
                     edges.right, edges.bottom);
  const ScanArea& stored = driver.scanArea();
  return {static_cast<std::uint32_t>(stored.left), static_cast<std::uint32_t>(stored.top),
          static_cast<std::uint32_t>(stored.width), static_cast<std::uint32_t>(stored.height)};
}

TEST(LibraryArea, ComesOutOfTheLibraryWithExactlyItsPixels) {
  CScannerDriver driver;
  for (const std::uint32_t resolution : bedResolutions) {
    const PixelArea bed = wholeBed(resolution);
    for (std::uint32_t i = 0; i < bed.height; ++i) {
      const PixelArea area{i % bed.width, i, bed.width - i % bed.width, i + 1};
      ASSERT_EQ(throughTheLibrary(driver, area, resolution), area) << resolution << " dpi, " << i;
    }
  }
}

TEST(LibraryArea, ComesOutExactAtOddResolutionsToo) {
  CScannerDriver driver;
  for (const std::uint32_t resolution : {1U, 7U, 72U, 96U, 133U, 360U, 1199U, 1200U}) {
    for (std::uint32_t i = 0; i < 2000; ++i) {
      const PixelArea area{i, i + 1, i + 2, i + 3};
      ASSERT_EQ(throughTheLibrary(driver, area, resolution), area) << resolution << " dpi, " << i;
    }
  }
}

TEST(Bed, CountsWholePixelsOnly) {
  EXPECT_EQ(wholeBed(75), (PixelArea{0, 0, 637, 876}));
  EXPECT_EQ(wholeBed(150), (PixelArea{0, 0, 1275, 1753}));
  EXPECT_EQ(wholeBed(200), (PixelArea{0, 0, 1700, 2338}));
  EXPECT_EQ(wholeBed(300), (PixelArea{0, 0, 2550, 3507}));
  EXPECT_EQ(wholeBed(400), (PixelArea{0, 0, 3400, 4676}));
  EXPECT_EQ(wholeBed(600), (PixelArea{0, 0, 5100, 7014}));
}

TEST(Bed, ScansColourAtThreeHundredAtMost) {
  EXPECT_EQ(trueResolution(ColorMode::color, 150), 150U);
  EXPECT_EQ(trueResolution(ColorMode::color, 300), 300U);
  EXPECT_EQ(trueResolution(ColorMode::color, 400), 300U);
  EXPECT_EQ(trueResolution(ColorMode::color, 600), 300U);
  EXPECT_EQ(trueResolution(ColorMode::gray, 600), 600U);
}

}  // namespace
