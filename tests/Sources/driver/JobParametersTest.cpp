#include <gmock/gmock.h>

#include <climits>
#include <vector>

#include "JobParameters.h"

namespace {

ScanArea areaAt(int resolution, int left, int top, int width, int height) {
  ScanArea area;
  area.xResolution = resolution;
  area.yResolution = resolution;
  area.left = left;
  area.top = top;
  area.width = width;
  area.height = height;
  return area;
}

ScanArea greyArea(ScanArea area) {
  area.bitDepth = 8;
  area.colorFlag = 0;
  return area;
}

std::vector<int> windowOf(const JobParameters& parameters) {
  return {parameters.windowLeft, parameters.windowTop, parameters.windowRight, parameters.windowBottom};
}

using testing::ElementsAre;

struct MediaRow {
  int resolution, left, top, width, height;
  int media;
};

class MediaSize : public testing::TestWithParam<MediaRow> {};

TEST_P(MediaSize, IsAPhotoStrictlyInsideFourBySixInches) {
  const MediaRow& row = GetParam();
  const ScanArea area = areaAt(row.resolution, row.left, row.top, row.width, row.height);
  EXPECT_EQ(jobParametersFor(area).originalMediaSize, row.media);
  EXPECT_EQ(jobParametersFor(greyArea(area)).originalMediaSize, row.media);
}

INSTANTIATE_TEST_SUITE_P(
    Table, MediaSize,
    testing::Values(MediaRow{600, 0, 0, 2400, 3600, 2}, MediaRow{600, 0, 0, 2399, 3599, 12},
                    MediaRow{600, 0, 0, 2400, 3599, 2}, MediaRow{600, 0, 0, 2399, 3600, 2},
                    MediaRow{600, 1, 0, 2399, 3599, 2}, MediaRow{600, 0, 1, 2399, 3599, 2},
                    MediaRow{300, 0, 0, 1199, 1799, 12}, MediaRow{300, 0, 0, 1200, 1799, 2},
                    MediaRow{75, 100, 200, 199, 249, 12}, MediaRow{75, 100, 200, 200, 249, 2},
                    MediaRow{1200, 0, 0, 4799, 7199, 12}, MediaRow{1200, 0, 0, 4800, 7199, 2},
                    MediaRow{600, 0, 0, 0, 0, 12}, MediaRow{600, -100, -100, 2499, 3699, 12},
                    MediaRow{600, INT_MAX, 0, 1, 1, 12},  // the sum wraps to a negative one
                    MediaRow{0, 0, 0, 1, 1, 2},           // infinity
                    MediaRow{0, 0, 0, 0, 0, 2},           // no number
                    MediaRow{0, 0, 0, -1, -1, 12},        // minus infinity
                    MediaRow{-600, 0, 0, 5000, 7000, 12}));

TEST(MediaSizeScale, IsTheHorizontalOneInBothDirections) {
  ScanArea area = areaAt(600, 0, 0, 2399, 3599);
  area.yResolution = 75;
  EXPECT_EQ(jobParametersFor(area).originalMediaSize, 12);
}

struct ResolutionRow {
  int asked, sentInColor, sentInGrey;
};

TEST(SentResolution, IsLimitedInColourOnly) {
  for (const ResolutionRow& row :
       {ResolutionRow{75, 75, 75}, ResolutionRow{300, 300, 300}, ResolutionRow{301, 300, 301},
        ResolutionRow{600, 300, 600}, ResolutionRow{1200, 300, 1200}, ResolutionRow{0, 0, 0},
        ResolutionRow{-600, -600, -600}}) {
    const ScanArea area = areaAt(row.asked, 0, 0, 100, 100);
    EXPECT_EQ(jobParametersFor(area).resolution, row.sentInColor) << row.asked;
    EXPECT_EQ(jobParametersFor(greyArea(area)).resolution, row.sentInGrey) << row.asked;
  }
}

TEST(ScanWindow, IsHalvedForColourAt600) {
  const ScanArea area = areaAt(600, 101, 203, 5000, 7001);
  EXPECT_THAT(windowOf(jobParametersFor(area)), ElementsAre(50, 101, 2550, 3602));
  EXPECT_THAT(windowOf(jobParametersFor(greyArea(area))), ElementsAre(101, 203, 5101, 7204));
}

TEST(ScanWindow, ScalesTheVerticalByTheHorizontalFactor) {
  ScanArea area = areaAt(600, 0, 100, 200, 200);
  area.yResolution = 75;
  EXPECT_THAT(windowOf(jobParametersFor(area)), ElementsAre(0, 50, 100, 150));
}

TEST(ScanWindow, IsComputedInSinglePrecision) {
  // 300/1100 x 55 rounds to 15 in single precision and stays below it in double.
  EXPECT_THAT(windowOf(jobParametersFor(areaAt(1100, 55, 99, 0, 0))), ElementsAre(15, 27, 15, 27));
  // 16777217 has no single precision value: 16777216.
  EXPECT_THAT(windowOf(jobParametersFor(areaAt(75, 16777217, 0, 0, 16777217))),
              ElementsAre(16777216, 0, 16777216, 16777216));
}

TEST(ScanWindow, SaturatesAndWraps) {
  EXPECT_THAT(windowOf(jobParametersFor(areaAt(75, INT_MAX, INT_MIN, 1, -1))),
              ElementsAre(INT_MAX, INT_MIN, INT_MIN, INT_MAX));
}

TEST(ScanWindow, OfAResolutionOfZeroIsNoNumber) {
  EXPECT_THAT(windowOf(jobParametersFor(areaAt(0, 0, 1, 2, -3))),
              ElementsAre(INT_MIN, INT_MIN, INT_MIN, INT_MIN));
}

TEST(ScanWindow, OfANegativeResolutionIsUnchanged) {
  EXPECT_THAT(windowOf(jobParametersFor(areaAt(-600, 1, 2, 3, 4))), ElementsAre(1, 2, 4, 6));
}

TEST(Content, FollowsTheColourFlagAndTheBitDepth) {
  ScanArea area;
  EXPECT_EQ(jobParametersFor(area).contentType, 2);
  EXPECT_EQ(jobParametersFor(area).bitDepth, 24);
  area = greyArea(area);
  EXPECT_EQ(jobParametersFor(area).contentType, 1);
  EXPECT_EQ(jobParametersFor(area).bitDepth, 8);
  area.bitDepth = 1;
  EXPECT_EQ(jobParametersFor(area).contentType, 0);
  EXPECT_EQ(jobParametersFor(area).bitDepth, 8);
}

TEST(ParameterTree, HoldsEveryValueUnderItsPath) {
  const auto tree = jobParameterTree({12, 2, 24, 300, 1, 2, 3, 4});
  const auto value = [&tree](std::initializer_list<const char*> path) {
    Element* element = tree.get();
    for (const char* name : path) element = element->getChild(name);
    return element->intValue();
  };
  EXPECT_EQ(value({"documentParameters", "compression"}), 4);
  EXPECT_EQ(value({"documentParameters", "fileFormat"}), 4);
  EXPECT_EQ(value({"scanParameters", "orientation"}), 0);
  EXPECT_EQ(value({"scanParameters", "darkness"}), 5);
  EXPECT_EQ(value({"scanParameters", "contrast"}), 5);
  EXPECT_EQ(value({"scanParameters", "originalMediaSize"}), 12);
  EXPECT_EQ(value({"scanParameters", "contentType"}), 2);
  EXPECT_EQ(value({"scanParameters", "bitdepth"}), 24);
  EXPECT_EQ(value({"scanParameters", "resolution"}), 300);
  EXPECT_EQ(value({"scanParameters", "source"}), 2);
  EXPECT_EQ(value({"scanParameters", "scanWindow", "topLeft", "x"}), 1);
  EXPECT_EQ(value({"scanParameters", "scanWindow", "topLeft", "y"}), 2);
  EXPECT_EQ(value({"scanParameters", "scanWindow", "bottomRight", "x"}), 3);
  EXPECT_EQ(value({"scanParameters", "scanWindow", "bottomRight", "y"}), 4);
  EXPECT_EQ(tree->getNumChildren(), 3U);
  EXPECT_EQ(tree->getChild("documentParameters")->getNumChildren(), 2U);
  EXPECT_EQ(tree->getChild("scanParameters")->getNumChildren(), 9U);
  EXPECT_EQ(tree->getChild("usbParameters")->getNumChildren(), 0U);
}

}  // namespace
