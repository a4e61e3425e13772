#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Bed.h"
#include "CommandError.h"
#include "ScanPlan.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ScanOptions optionsFor(const std::string& output) {
  ScanOptions options;
  options.output = output;
  return options;
}

std::string complaintAbout(const ScanOptions& options) {
  try {
    planScan(options);
    return "";
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), ExitCode::usage);
    return error.what();
  }
}

TEST(ScanPlan, IsTheWholeGlassInColourAtThreeHundredByDefault) {
  const ScanPlan plan = planScan(optionsFor("page.tiff"));
  EXPECT_EQ(plan.settings.resolution, 300U);
  EXPECT_EQ(plan.settings.mode, ColorMode::color);
  EXPECT_EQ(plan.settings.area, wholeBed(300));
  EXPECT_EQ(plan.format, PictureFormat::tiff);
  EXPECT_FALSE(plan.toStandardOutput);
  EXPECT_THAT(plan.notes, IsEmpty());
}

TEST(ScanPlan, ReducesColourToWhatTheScannerDeliversAndSaysSo) {
  for (const char* resolution : {"400", "600"}) {
    ScanOptions options = optionsFor("page.tiff");
    options.resolution = resolution;
    options.area = "0x0+100x50px";
    const ScanPlan plan = planScan(options);
    EXPECT_EQ(plan.settings.resolution, 300U);
    EXPECT_EQ(plan.settings.area, (PixelArea{0, 0, 100, 50}));
    EXPECT_THAT(plan.notes,
                ElementsAre("The scanner delivers colour at 300 dots per inch at most: scanning at that "
                            "instead of " +
                            std::string(resolution) + ". Use --mode gray for more."));
  }
}

TEST(ScanPlan, LeavesGreyItsResolution) {
  ScanOptions options = optionsFor("page.tiff");
  options.resolution = "600";
  options.mode = "gray";
  EXPECT_EQ(planScan(options).settings.resolution, 600U);
  EXPECT_THAT(planScan(options).notes, IsEmpty());
}

TEST(ScanPlan, TellsOfAnAreaThatReachesPastTheGlass) {
  ScanOptions options = optionsFor("page.tiff");
  options.area = "0x0+210x297mm";
  EXPECT_THAT(planScan(options).notes,
              ElementsAre("The area reaches past the glass: scanning the part that lies on "
                          "it, 2480 x 3507 pixels."));
}

TEST(ScanPlan, RefusesValuesThatCannotBe) {
  const struct {
    std::function<void(ScanOptions&)> change;
    const char* complaint;
  } cases[] = {
      {[](ScanOptions& o) { o.resolution = "100"; },
       "--resolution 100: the scanner cannot do that. Choose 75, 150, 200, 300, 400 or 600 dots per inch."},
      {[](ScanOptions& o) { o.resolution = "300dpi"; }, "--resolution 300dpi: the scanner cannot do that."},
      {[](ScanOptions& o) { o.resolution = "-300"; }, "--resolution -300: the scanner cannot do that."},
      {[](ScanOptions& o) { o.resolution = ""; }, "the scanner cannot do that."},
      {[](ScanOptions& o) { o.mode = "lineart"; },
       "--mode lineart: there is no such mode. Choose color or gray."},
      {[](ScanOptions& o) { o.format = "gif"; },
       "--format gif: there is no such format. Choose tiff, png or pnm."},
      {[](ScanOptions& o) { o.area = "all"; }, "--area all: "},
      {[](ScanOptions& o) { o.output = ""; }, "--output: the name is empty."},
      {[](ScanOptions& o) { o.output = "page"; }, "page: the name does not tell the picture's format."},
      {[](ScanOptions& o) { o.output = "a.png/page"; }, "the name does not tell the picture's format."},
      {[](ScanOptions& o) { o.output = ".png"; }, "the name does not tell the picture's format."},
      {[](ScanOptions& o) { o.output = "page.jpg"; }, "the name does not tell the picture's format."},
      {[](ScanOptions& o) { o.output = "page.pgm"; },
       "page.pgm: a .pgm file holds grey. Name it .ppm, or scan with --mode gray."},
      {[](ScanOptions& o) { o.output = "page.ppm", o.mode = "gray"; }, "page.ppm: a .ppm file holds colour."},
      {[](ScanOptions& o) { o.output = "-", o.format = "tiff"; },
       "A TIFF cannot be written to standard output."},
  };
  for (const auto& one : cases) {
    ScanOptions options = optionsFor("page.tiff");
    one.change(options);
    EXPECT_THAT(complaintAbout(options), HasSubstr(one.complaint));
  }
}

TEST(ScanPlan, KnowsTheFormatByTheEndOfTheName) {
  const struct {
    const char* output;
    PictureFormat format;
  } cases[] = {
      {"a.tiff", PictureFormat::tiff},        {"a.TIF", PictureFormat::tiff},
      {"dir.png/a.tif", PictureFormat::tiff}, {"a.png", PictureFormat::png},
      {"a.tiff.png", PictureFormat::png},     {"a.pnm", PictureFormat::pnm},
      {"a.ppm", PictureFormat::pnm},          {"-", PictureFormat::pnm},
      {"/dev/stdout", PictureFormat::pnm},
  };
  for (const auto& one : cases) EXPECT_EQ(planScan(optionsFor(one.output)).format, one.format) << one.output;
}

TEST(ScanPlan, PrefersTheFormatThatIsNamed) {
  ScanOptions options = optionsFor("page.jpg");
  options.format = "png";
  EXPECT_EQ(planScan(options).format, PictureFormat::png);
}

TEST(ScanPlan, UnderstandsBothSpellings) {
  ScanOptions options = optionsFor("page.pgm");
  options.mode = "grey";
  EXPECT_EQ(planScan(options).settings.mode, ColorMode::gray);
  options = optionsFor("page.ppm");
  options.mode = "colour";
  EXPECT_EQ(planScan(options).settings.mode, ColorMode::color);
}

}  // namespace
