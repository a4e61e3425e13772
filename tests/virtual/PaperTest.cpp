#include <gtest/gtest.h>

#include <vector>

#include "ImagePaper.h"
#include "Paper.h"
#include "TestChart.h"

namespace virtualscanner {
namespace {

std::vector<std::uint8_t> paintedRow(const Paper& paper, std::uint32_t resolution, std::int64_t row,
                                     std::int64_t left, std::uint32_t width) {
  std::vector<std::uint8_t> rgb(std::size_t{width} * 3, 0x5A);
  paper.paintRow(resolution, row, left, width, rgb.data());
  return rgb;
}

std::vector<std::uint8_t> pixelRow(const Paper& paper, std::uint32_t resolution, std::int64_t row,
                                   std::int64_t left, std::uint32_t width) {
  std::vector<std::uint8_t> rgb;
  for (std::uint32_t i = 0; i < width; ++i) {
    const Color color = paper.pixelAt(resolution, left + i, row);
    rgb.insert(rgb.end(), {color.red, color.green, color.blue});
  }
  return rgb;
}

Color atInch(const Paper& paper, double x, double y) {
  return paper.colorAt(static_cast<std::int64_t>(x * unitsPerInch),
                       static_cast<std::int64_t>(y * unitsPerInch));
}

TEST(Glass, PlacesPixelCentresInWholeUnitsAtEveryResolution) {
  for (const std::uint32_t resolution : resolutions) {
    EXPECT_EQ(unitsPerInch / 2 % resolution, 0) << resolution;
    EXPECT_EQ(pixelCentre(resolution, resolution) - pixelCentre(resolution, 0), unitsPerInch) << resolution;
  }
  EXPECT_EQ(pixelCentre(600, 0), 2);
  EXPECT_EQ(pixelCentre(75, 0), 16);
  EXPECT_EQ(pixelCentre(75, -1), -16);
}

TEST(Glass, HasTheResolutionsOfTheDevice) {
  for (const int resolution : {75, 150, 200, 300, 400, 600}) EXPECT_TRUE(isResolution(resolution));
  for (const int resolution : {0, -75, 74, 100, 1200, 2147483647}) EXPECT_FALSE(isResolution(resolution));
}

TEST(Grey, IsTheLumaOfTheColorRounded) {
  EXPECT_EQ(greyOf(white), 255);
  EXPECT_EQ(greyOf(black), 0);
  EXPECT_EQ(greyOf({255, 0, 0}), 76);
  EXPECT_EQ(greyOf({0, 255, 0}), 150);
  EXPECT_EQ(greyOf({0, 0, 255}), 29);
  for (int level = 0; level < 256; ++level) {
    const auto grey = static_cast<std::uint8_t>(level);
    EXPECT_EQ(greyOf({grey, grey, grey}), level);
  }
}

TEST(PlainPaper, IsItsColorOnTheGlassAndWhiteBeyond) {
  const auto paper = Paper::plain({1, 2, 3});
  EXPECT_EQ(paper->pixelAt(75, 0, 0), (Color{1, 2, 3}));
  EXPECT_EQ(paper->colorAt(glassWidth - 1, glassHeight - 1), (Color{1, 2, 3}));
  EXPECT_EQ(paper->colorAt(glassWidth, 0), white);
  EXPECT_EQ(paper->colorAt(0, glassHeight), white);
  EXPECT_EQ(paper->colorAt(-1, 0), white);
  EXPECT_EQ(paper->colorAt(0, -1), white);
}

TEST(TestChart, PaintsThePageAsItsPixelsAre) {
  const auto chart = Paper::testChart();
  for (std::int64_t row = -2; row < 880; row += 3) {
    ASSERT_EQ(paintedRow(*chart, 75, row, -3, 650), pixelRow(*chart, 75, row, -3, 650)) << row;
  }
}

TEST(TestChart, PaintsRowsAsItsPixelsAreAtEveryResolution) {
  const auto chart = Paper::testChart();
  for (const std::uint32_t resolution : resolutions) {
    const std::uint32_t width = 85 * resolution / 10;
    for (std::int64_t row = 0; row < 12 * resolution; row += resolution + 13) {
      ASSERT_EQ(paintedRow(*chart, resolution, row, 0, width), pixelRow(*chart, resolution, row, 0, width))
          << resolution << " row " << row;
    }
  }
}

TEST(TestChart, PaintsAnOddPieceOfARow) {
  const auto chart = Paper::testChart();
  EXPECT_EQ(paintedRow(*chart, 200, 333, 1001, 1), pixelRow(*chart, 200, 333, 1001, 1));
  EXPECT_EQ(paintedRow(*chart, 200, 333, 1650, 100), pixelRow(*chart, 200, 333, 1650, 100));
  EXPECT_EQ(paintedRow(*chart, 200, 333, -100, 99), pixelRow(*chart, 200, 333, -100, 99));
}

TEST(TestChart, HasABlackBorderAtTheVeryEdge) {
  const auto chart = Paper::testChart();
  for (const std::uint32_t resolution : {150U, 300U, 600U}) {
    const std::int64_t right = glassWidth * resolution / unitsPerInch - 1;
    const std::int64_t bottom = glassHeight * resolution / unitsPerInch - 1;
    for (const std::int64_t at : {std::int64_t{0}, right / 2, right}) {
      EXPECT_EQ(chart->pixelAt(resolution, at, 0), black);
      EXPECT_EQ(chart->pixelAt(resolution, at, bottom), black);
    }
    for (const std::int64_t at : {std::int64_t{0}, bottom / 2, bottom}) {
      EXPECT_EQ(chart->pixelAt(resolution, 0, at), black);
      EXPECT_EQ(chart->pixelAt(resolution, right, at), black);
    }
  }
  EXPECT_EQ(chart->colorAt(glassWidth, glassHeight / 2), white);
  EXPECT_EQ(chart->colorAt(glassWidth / 2, glassHeight), white);
}

TEST(TestChart, HasPatchesOfThePureColorsInOrder) {
  const auto chart = Paper::testChart();
  constexpr Color pure[] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},
                            {0, 255, 255}, {255, 0, 255}, {255, 255, 0}};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(atInch(*chart, 1.0 + i * 1.27, 1.3), pure[i]) << i;
}

TEST(TestChart, HasAGreyRampFromBlackToWhite) {
  const auto chart = Paper::testChart();
  for (int i = 0; i < 16; ++i) {
    const auto level = static_cast<std::uint8_t>(17 * i);
    EXPECT_EQ(atInch(*chart, 0.5 + (i + 0.5) * 7.5 / 16, 3.2), (Color{level, level, level})) << i;
  }
}

TEST(TestChart, HasDifferentMarksInItsCorners) {
  const auto chart = Paper::testChart();
  const Color square = atInch(*chart, 0.6, 0.6);
  const Color ring = atInch(*chart, 8.5 - 0.4, 0.62);
  const Color triangle = atInch(*chart, 0.62, 11.69 - 0.4);
  const Color cross = atInch(*chart, 8.5 - 0.62, 11.69 - 0.62);
  EXPECT_NE(square, white);
  EXPECT_EQ(atInch(*chart, 8.5 - 0.62, 0.62), white) << "the ring's hole";
  EXPECT_NE(ring, square);
  EXPECT_NE(triangle, square);
  EXPECT_NE(cross, square);
  EXPECT_NE(triangle, cross);
  EXPECT_EQ(atInch(*chart, 0.37, 11.69 - 0.8), white) << "beside the triangle's tip";
  EXPECT_EQ(atInch(*chart, 8.5 - 0.4, 11.69 - 0.4), white) << "between the arms of the cross";
}

// The page at 75 dots per inch, for other checks.
class ChartPicture : public testing::Test {
 protected:
  static constexpr std::int64_t width = 637, height = 876;

  static Color at(std::int64_t x, std::int64_t y) {
    static const std::vector<std::uint8_t> page = [] {
      std::vector<std::uint8_t> rgb(width * height * 3);
      for (std::int64_t row = 0; row < height; ++row) {
        Paper::testChart()->paintRow(75, row, 0, width, &rgb[static_cast<std::size_t>(row * width * 3)]);
      }
      return rgb;
    }();
    if (x < 0 || y < 0 || x >= width || y >= height) return white;
    const std::uint8_t* pixel = &page[static_cast<std::size_t>((y * width + x) * 3)];
    return {pixel[0], pixel[1], pixel[2]};
  }

  // The share of the page's pixels that a manipulation changes.
  template <typename Manipulation>
  static double shareChangedBy(const Manipulation& manipulated) {
    int changed = 0;
    for (std::int64_t y = 0; y < height; ++y) {
      for (std::int64_t x = 0; x < width; ++x) {
        if (at(x, y) != manipulated(x, y)) ++changed;
      }
    }
    return static_cast<double>(changed) / (width * height);
  }
};

TEST_F(ChartPicture, ShowsEveryManipulation) {
  using Place = std::int64_t;
  EXPECT_EQ(shareChangedBy([](Place x, Place y) { return at(x, y); }), 0);
  EXPECT_GT(shareChangedBy([](Place x, Place y) { return at(width - 1 - x, y); }), 0.25) << "mirrored";
  EXPECT_GT(shareChangedBy([](Place x, Place y) { return at(x, height - 1 - y); }), 0.25) << "upside down";
  EXPECT_GT(shareChangedBy([](Place x, Place y) { return at(width - 1 - x, height - 1 - y); }), 0.25)
      << "turned";
  EXPECT_GT(shareChangedBy([](Place x, Place y) { return at(x + 1, y); }), 0.05) << "shifted by a column";
  EXPECT_GT(shareChangedBy([](Place x, Place y) { return at(x, y + 1); }), 0.05) << "shifted by a row";
  EXPECT_GT(shareChangedBy([](Place x, Place y) {
              const Color color = at(x, y);
              return Color{color.blue, color.green, color.red};
            }),
            0.2)
      << "red and blue swapped";
}

Image imageOfPage(std::uint32_t resolution) {
  Image image{85 * resolution / 10, 1169 * resolution / 100, {}};
  for (std::uint32_t row = 0; row < image.height; ++row) {
    for (std::uint32_t column = 0; column < image.width; ++column) {
      image.rgb.insert(image.rgb.end(), {static_cast<std::uint8_t>(column), static_cast<std::uint8_t>(row),
                                         static_cast<std::uint8_t>(column >> 8 | row >> 8 << 4)});
    }
  }
  return image;
}

TEST(ImagePaper, GivesThePictureOfAPageBackUnchangedAtItsResolution) {
  const Image image = imageOfPage(200);
  ASSERT_EQ(image.height, 2338U);
  const ImagePaper paper(image);
  for (std::uint32_t row = 0; row < image.height; row += 7) {
    const std::vector<std::uint8_t> wanted(
        image.rgb.begin() + static_cast<std::ptrdiff_t>(row) * image.width * 3,
        image.rgb.begin() + static_cast<std::ptrdiff_t>(row + 1) * image.width * 3);
    ASSERT_EQ(paintedRow(paper, 200, row, 0, image.width), wanted) << row;
  }
}

TEST(ImagePaper, PaintsRowsOfThePixelsThatItReturns) {
  struct Size {
    std::uint32_t width, height;
  };
  for (const Size& size :
       {Size{1, 1}, Size{3, 2}, Size{2, 3}, Size{638, 877}, Size{1700, 20}, Size{50, 1001}}) {
    Image image{size.width, size.height,
                std::vector<std::uint8_t>(std::size_t{size.width} * size.height * 3)};
    for (std::size_t i = 0; i < image.rgb.size(); ++i)
      image.rgb[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    const ImagePaper paper(image);
    for (const std::uint32_t resolution : {75U, 150U, 600U}) {
      for (const std::int64_t row : {-1, 0, 1, 300, 876, 877, 7013, 7014}) {
        ASSERT_EQ(paintedRow(paper, resolution, row, -5, 5200), pixelRow(paper, resolution, row, -5, 5200))
            << size.width << " x " << size.height << " at " << resolution << ", row " << row;
      }
    }
    EXPECT_EQ(paintedRow(paper, 300, 5, 6000, 10), pixelRow(paper, 300, 5, 6000, 10));
    EXPECT_EQ(paintedRow(paper, 300, 5, -20, 10), pixelRow(paper, 300, 5, -20, 10));
  }
}

TEST(ImagePaper, PaintsGreyRowsAsTheLumaOfItsPixels) {
  const ImagePaper paper(Image{.width = 3,
                               .height = 2,
                               .rgb = {255, 0, 0, 9, 9, 9, 0, 0, 255,  //
                                       0, 7, 0, 255, 0, 9, 1, 2, 3}});
  constexpr std::uint32_t width = 700;
  for (const std::int64_t row : {-1, 0, 300, 420, 500, 875, 876}) {
    const auto rgb = paintedRow(paper, 75, row, -20, width);
    std::vector<std::uint8_t> grey(width, 0x5A);
    ASSERT_TRUE(paper.paintGreyRow(75, row, -20, width, grey.data()));
    for (std::size_t i = 0; i < width; ++i)
      ASSERT_EQ(grey[i], greyOf({rgb[i * 3], rgb[i * 3 + 1], rgb[i * 3 + 2]})) << row << ", " << i;
  }
}

TEST(ImagePaper, FillsTheWidthWithAWidePicture) {
  const ImagePaper paper(Image{2, 1, {255, 0, 0, 0, 0, 255}});
  EXPECT_EQ(paper.colorAt(0, 0), (Color{255, 0, 0}));
  EXPECT_EQ(paper.colorAt(glassWidth / 2 - 1, glassWidth / 2 - 1), (Color{255, 0, 0}));
  EXPECT_EQ(paper.colorAt(glassWidth / 2, 0), (Color{0, 0, 255}));
  EXPECT_EQ(paper.colorAt(glassWidth - 1, 0), (Color{0, 0, 255}));
  EXPECT_EQ(paper.colorAt(glassWidth, 0), white);
  EXPECT_EQ(paper.colorAt(0, glassWidth / 2), white) << "below the picture";
}

TEST(ImagePaper, FillsTheHeightWithATallPicture) {
  const ImagePaper paper(Image{1, 2, {255, 0, 0, 0, 0, 255}});
  EXPECT_EQ(paper.colorAt(0, glassHeight / 2 - 1), (Color{255, 0, 0}));
  EXPECT_EQ(paper.colorAt(0, glassHeight / 2), (Color{0, 0, 255}));
  EXPECT_EQ(paper.colorAt(0, glassHeight), white);
  EXPECT_EQ(paper.colorAt(glassHeight / 2, 0), white) << "right of the picture";
  EXPECT_EQ(paper.colorAt(-1, 0), white);
}

}  // namespace
}  // namespace virtualscanner
