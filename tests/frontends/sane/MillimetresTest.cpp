#include <gtest/gtest.h>

#include "Bed.h"
#include "Millimetres.h"

namespace {

using namespace frontend;

std::optional<PixelArea> area(double left, double top, double right, double bottom,
                              std::uint32_t resolution) {
  return pixelsOf({SANE_FIX(left), SANE_FIX(top), SANE_FIX(right), SANE_FIX(bottom)}, resolution);
}

TEST(Millimetres, OfTheWholeGlassAreTheWholeBedAtEveryResolution) {
  for (const std::uint32_t resolution : bedResolutions) {
    EXPECT_EQ(pixelsOf({0, 0, bedWidthFixed(), bedHeightFixed()}, resolution), wholeBed(resolution))
        << resolution;
  }
}

TEST(Millimetres, AreRoundedToTheNearestPixel) {
  EXPECT_EQ(area(10, 20, 60, 100, 300), (PixelArea{118, 236, 591, 945}));
  EXPECT_EQ(area(0, 0, 25.4, 50.8, 75), (PixelArea{0, 0, 75, 150}));
}

TEST(Millimetres, ThatFixedPointCutsOffAreTheOnesThatWereMeant) {
  EXPECT_EQ(area(12.7, 12.7, 25.4, 25.4, 75), (PixelArea{38, 38, 38, 38}));  // 37.5 pixels are rounded up
}

TEST(Millimetres, OfAnA4PageReachAsFarAsTheGlass) {
  EXPECT_EQ(area(0, 0, 210, 297, 300), (PixelArea{0, 0, 2480, 3507}));
}

TEST(Millimetres, BeyondTheGlassAreLeftOut) {
  EXPECT_EQ(area(200, 290, 300, 400, 75), (PixelArea{591, 856, 46, 20}));
}

TEST(Millimetres, OfCrossedCornersOrLessThanOnePixelAreNoArea) {
  EXPECT_EQ(area(50, 0, 40, 100, 300), std::nullopt);
  EXPECT_EQ(area(0, 100, 40, 50, 300), std::nullopt);
  EXPECT_EQ(area(10, 10, 10, 20, 300), std::nullopt);
  EXPECT_EQ(area(10, 10, 10.1, 20, 75), std::nullopt);
  EXPECT_EQ(area(215.9, 0, 215.9, 20, 600), std::nullopt);
}

}  // namespace
