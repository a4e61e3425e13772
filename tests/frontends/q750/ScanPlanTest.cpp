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

TEST(ScanPlan, IsTheWholeBedInColourAtThreeHundredByDefault) {
  const ScanPlan plan = planScan(optionsFor("page.tiff"));
  EXPECT_EQ(plan.request.settings.resolution, 300U);
  EXPECT_EQ(plan.request.settings.mode, ColorMode::color);
  EXPECT_EQ(plan.request.settings.area, wholeBed(300));
  EXPECT_EQ(plan.format, PictureFormat::tiff);
  EXPECT_FALSE(plan.toStandardOutput);
  EXPECT_THAT(plan.notes, IsEmpty());
}

TEST(ScanPlan, ReducesColourToWhatTheScannerDeliversWithANote) {
  for (const char* resolution : {"400", "600"}) {
    ScanOptions options = optionsFor("page.tiff");
    options.resolution = resolution;
    options.area = "0x0+100x50px";
    const ScanPlan plan = planScan(options);
    EXPECT_EQ(plan.request.settings.resolution, 300U);
    EXPECT_EQ(plan.request.settings.area, (PixelArea{0, 0, 100, 50}));
    EXPECT_THAT(
        plan.notes,
        ElementsAre("The scanner's highest resolution in colour is 300 dots per inch: scanning at that "
                    "instead of " +
                    std::string(resolution) + ". Use --mode gray for more."));
  }
}

TEST(ScanPlan, LeavesGreyItsResolution) {
  ScanOptions options = optionsFor("page.tiff");
  options.resolution = "600";
  options.mode = "gray";
  EXPECT_EQ(planScan(options).request.settings.resolution, 600U);
  EXPECT_THAT(planScan(options).notes, IsEmpty());
}

TEST(ScanPlan, NotesAnAreaThatExtendsBeyondTheBed) {
  ScanOptions options = optionsFor("page.tiff");
  options.area = "0x0+210x297mm";
  EXPECT_THAT(planScan(options).notes,
              ElementsAre("The area extends beyond the scan bed: scanning the part inside it, "
                          "2480 x 3507 pixels."));
}

TEST(ScanPlan, RejectsInvalidValues) {
  const struct {
    std::function<void(ScanOptions&)> change;
    const char* complaint;
  } cases[] = {
      {[](ScanOptions& o) { o.resolution = "100"; },
       "--resolution 100: not supported by the scanner. Choose 75, 150, 200, 300, 400 or 600 dots per inch."},
      {[](ScanOptions& o) { o.resolution = "300dpi"; }, "--resolution 300dpi: not supported by the scanner."},
      {[](ScanOptions& o) { o.resolution = "-300"; }, "--resolution -300: not supported by the scanner."},
      {[](ScanOptions& o) { o.resolution = ""; }, "not supported by the scanner."},
      {[](ScanOptions& o) { o.mode = "sepia"; },
       "--mode sepia: unknown mode. Choose color, gray or lineart."},
      {[](ScanOptions& o) { o.format = "gif"; },
       "--format gif: unknown format. Choose tiff, png, jpeg, pnm or pdf."},
      {[](ScanOptions& o) { o.area = "all"; }, "--area all: "},
      {[](ScanOptions& o) { o.output = ""; }, "--output: the name is empty."},
      {[](ScanOptions& o) { o.output = "page"; },
       "page: the extension is not that of a picture format. Add --format tiff, png, jpeg, pnm or pdf, or "},
      {[](ScanOptions& o) { o.output = "a.png/page"; }, "the extension is not that of a picture format."},
      {[](ScanOptions& o) { o.output = ".png"; }, "the extension is not that of a picture format."},
      {[](ScanOptions& o) { o.output = "page.gif"; }, "the extension is not that of a picture format."},
      {[](ScanOptions& o) { o.output = "page.pgm"; },
       "page.pgm: a .pgm file holds grey. Name it .ppm, or scan with --mode gray."},
      {[](ScanOptions& o) { o.output = "page.ppm", o.mode = "gray"; }, "page.ppm: a .ppm file holds colour."},
      {[](ScanOptions& o) { o.output = "-", o.format = "tiff"; },
       "TIFF cannot be written to standard output. Choose --format png, jpeg, pnm or pdf, or a file."},
      {[](ScanOptions& o) { o.output = "page.pbm"; },
       "page.pbm: a .pbm file holds black and white. Name it .ppm, or scan with --mode lineart."},
      {[](ScanOptions& o) { o.output = "page.pgm", o.mode = "lineart"; },
       "page.pgm: a .pgm file holds grey. Name it .pbm, or scan with --mode gray."},
      {[](ScanOptions& o) { o.threshold = "50%"; },
       "--threshold applies to --mode lineart only. Add that mode, or leave --threshold out."},
      {[](ScanOptions& o) { o.mode = "lineart", o.threshold = "256"; },
       "--threshold 256: expected a grey level from 0 to 255, or 0% to 100%, for example 50%."},
      {[](ScanOptions& o) { o.mode = "lineart", o.threshold = "101%"; }, "--threshold 101%: "},
      {[](ScanOptions& o) { o.mode = "lineart", o.threshold = "nan%"; }, "--threshold nan%: "},
      {[](ScanOptions& o) { o.mode = "lineart", o.threshold = "%"; }, "--threshold %: "},
      {[](ScanOptions& o) { o.mode = "lineart", o.threshold = "-1"; }, "--threshold -1: "},
      {[](ScanOptions& o) { o.brightness = "101"; },
       "--brightness 101: expected a whole number from -100 to 100."},
      {[](ScanOptions& o) { o.brightness = "5.5"; }, "--brightness 5.5: "},
      {[](ScanOptions& o) { o.contrast = "-101"; }, "--contrast -101: "},
      {[](ScanOptions& o) { o.contrast = "high"; }, "--contrast high: "},
      {[](ScanOptions& o) { o.gamma = "0.09"; },
       "--gamma 0.09: expected a number from 0.10 to 5.00 with at most two decimals, for example 1.80."},
      {[](ScanOptions& o) { o.gamma = "5.01"; }, "--gamma 5.01: "},
      {[](ScanOptions& o) { o.gamma = "nan"; }, "--gamma nan: "},
      {[](ScanOptions& o) { o.gamma = "1.005"; }, "--gamma 1.005: "},
      {[](ScanOptions& o) { o.mode = "lineart", o.brightness = "1"; },
       "--brightness applies to --mode color and gray only. Choose one of them, or leave --brightness out."},
      {[](ScanOptions& o) { o.mode = "lineart", o.contrast = "1"; },
       "--contrast applies to --mode color and gray"},
      {[](ScanOptions& o) { o.mode = "lineart", o.gamma = "1.1"; },
       "--gamma applies to --mode color and gray"},
      {[](ScanOptions& o) { o.quality = "90"; }, "--quality applies to JPEG and PDF only."},
      {[](ScanOptions& o) { o.quality = "lossless", o.format = "jpeg"; },
       "--quality lossless: expected a number from 1 to 100."},
      {[](ScanOptions& o) { o.quality = "0", o.format = "pdf"; },
       "--quality 0: expected a number from 1 to 100, or lossless for PDF."},
      {[](ScanOptions& o) { o.quality = "101", o.format = "jpeg"; }, "--quality 101: "},
      {[](ScanOptions& o) { o.paper = "a3"; }, "--paper a3: unknown paper. Choose a4, a5, "},
      {[](ScanOptions& o) { o.paper = "a4", o.area = "0x0+1x1in"; },
       "--area and --paper exclude each other. Give one of them."},
      {[](ScanOptions& o) { o.timeout = "0"; },
       "--timeout 0: expected seconds from 0.1 to 86400, for example 30."},
      {[](ScanOptions& o) { o.timeout = "nan"; }, "--timeout nan: "},
      {[](ScanOptions& o) { o.timeout = "1e9"; }, "--timeout 1e9: "},
      {[](ScanOptions& o) { o.timeout = "5s"; }, "--timeout 5s: "},
      {[](ScanOptions& o) { o.output = "-", o.format = "png", o.pages = "2"; },
       "Several pages of PNG or JPEG cannot be written to standard output."},
      {[](ScanOptions& o) { o.pages = "0"; },
       "--pages 0: expected a number from 1 to 9999, or none to scan until the answer is q."},
      {[](ScanOptions& o) { o.pages = "10000"; }, "--pages 10000: "},
      {[](ScanOptions& o) { o.pages = "a.png"; }, "--pages a.png: "},
      {[](ScanOptions& o) { o.output = "100%.tiff"; },
       "100%.tiff: \"%.\" has no meaning in a name. Write %d or %03d for the number of the page, and %% for "
       "a "
       "percent sign."},
      {[](ScanOptions& o) { o.firstPage = 2; },
       "--first-page numbers files, and there is no number in the name."},
      {[](ScanOptions& o) { o.firstPage = 2, o.output = "a.png"; }, "--first-page numbers files"},
      {[](ScanOptions& o) { o.firstPage = 2, o.output = "-"; }, "--first-page numbers files"},
      {[](ScanOptions& o) { o.append = true, o.output = "a.png"; },
       "--append adds pages to a TIFF or PDF file."},
      {[](ScanOptions& o) { o.append = true, o.output = "-", o.format = "pdf"; }, "--append adds pages to"},
      {[](ScanOptions& o) { o.append = o.noClobber = true; },
       "--append and --no-clobber exclude each other. Give one of them."},
      {[](ScanOptions& o) { o.virtualScanner.faults = {"fire"}; },
       "--virtual-fault fire: unknown fault. Use NAME or NAME:N with one of: stall, time-out, "},
      {[](ScanOptions& o) { o.virtualScanner.paper = "/nonexistent.png"; },
       "--virtual-paper: /nonexistent.png"},
  };
  for (const auto& one : cases) {
    ScanOptions options = optionsFor("page.tiff");
    one.change(options);
    EXPECT_THAT(complaintAbout(options), HasSubstr(one.complaint));
  }
}

TEST(ScanPlan, SelectsTheFormatByTheExtension) {
  const struct {
    const char* output;
    PictureFormat format;
  } cases[] = {
      {"a.tiff", PictureFormat::tiff},        {"a.TIF", PictureFormat::tiff},
      {"dir.png/a.tif", PictureFormat::tiff}, {"a.png", PictureFormat::png},
      {"a.tiff.png", PictureFormat::png},     {"a.pnm", PictureFormat::pnm},
      {"a.ppm", PictureFormat::pnm},          {"-", PictureFormat::pnm},
      {"a.jpg", PictureFormat::jpeg},         {"a.JPEG", PictureFormat::jpeg},
      {"a.pdf", PictureFormat::pdf},          {"/dev/stdout", PictureFormat::pnm},
  };
  for (const auto& one : cases) EXPECT_EQ(planScan(optionsFor(one.output)).format, one.format) << one.output;
}

TEST(ScanPlan, PrefersTheFormatThatIsNamed) {
  ScanOptions options = optionsFor("page.pdf");
  options.format = "png";
  EXPECT_EQ(planScan(options).format, PictureFormat::png);
}

TEST(ScanPlan, AcceptsBothSpellings) {
  ScanOptions options = optionsFor("page.pgm");
  options.mode = "grey";
  EXPECT_EQ(planScan(options).request.settings.mode, ColorMode::gray);
  options = optionsFor("page.ppm");
  options.mode = "colour";
  EXPECT_EQ(planScan(options).request.settings.mode, ColorMode::color);
}

TEST(ScanPlan, IgnoresTheCaseOfChoices) {
  ScanOptions options = optionsFor("page.png");
  options.mode = "Gray";
  options.format = "PDF";
  options.quality = "Lossless";
  options.paper = "A5";
  const ScanPlan plan = planScan(options);
  EXPECT_EQ(plan.request.settings.mode, ColorMode::gray);
  EXPECT_EQ(plan.format, PictureFormat::pdf);
  EXPECT_TRUE(plan.pictureSettings.lossless);
  EXPECT_EQ(plan.request.settings.area.width, 1748U);
}

TEST(ScanPlan, MakesBlackAndWhiteOfGrey) {
  const struct {
    const char* threshold;
    int grey;
  } cases[] = {{"", 128}, {"0", 0},      {"255", 255}, {"77", 77},
               {"0%", 0}, {"100%", 255}, {"40%", 102}, {"12.5%", 32}};
  for (const auto& one : cases) {
    ScanOptions options = optionsFor("page.pbm");
    options.mode = "lineart";
    options.resolution = "600";
    options.threshold = one.threshold;
    const ScanPlan plan = planScan(options);
    EXPECT_EQ(plan.request.settings.mode, ColorMode::gray);
    EXPECT_EQ(plan.request.settings.resolution, 600U);
    EXPECT_EQ(plan.request.threshold, one.grey) << one.threshold;
    EXPECT_EQ(plan.format, PictureFormat::pnm);
  }
  EXPECT_FALSE(planScan(optionsFor("page.ppm")).request.threshold);
}

TEST(ScanPlan, TakesTheToneOfThePicture) {
  ScanOptions options = optionsFor("page.png");
  EXPECT_TRUE(planScan(options).request.tone.isNeutral());
  options.brightness = "-100";
  options.contrast = "35";
  options.gamma = "2.2";
  EXPECT_EQ(planScan(options).request.tone, (Tone{-100, 35, 220}));
  const std::pair<const char*, std::uint32_t> gammas[] = {{"0.1", 10},   {"0.10", 10},  {"1", 100},
                                                          {"1.15", 115}, {"4.99", 499}, {"5.00", 500}};
  for (const auto& [text, hundredths] : gammas) {
    options.gamma = text;
    EXPECT_EQ(planScan(options).request.tone.gammaHundredths, hundredths) << text;
  }
}

TEST(ScanPlan, AcceptsInLineartOnlyTheToneThatChangesNothing) {
  ScanOptions options = optionsFor("page.png");
  options.mode = "lineart";
  options.brightness = options.contrast = "0";
  options.gamma = "1.00";
  EXPECT_TRUE(planScan(options).request.tone.isNeutral());
}

TEST(ScanPlan, NotesThatAJpegOfLineartIsGrey) {
  ScanOptions options = optionsFor("page.jpg");
  options.mode = "lineart";
  EXPECT_THAT(planScan(options).notes,
              ElementsAre("JPEG cannot store bilevel images: the picture is saved as grey."));
}

TEST(ScanPlan, TurnsByQuarters) {
  ScanOptions options = optionsFor("page.png");
  EXPECT_EQ(planScan(options).pictureSettings.rotation, Rotation::none);
  const struct {
    const char* degrees;
    Rotation rotation;
  } cases[] = {{"0", Rotation::none},
               {"90", Rotation::quarter},
               {"180", Rotation::half},
               {"270", Rotation::threeQuarters}};
  for (const auto& one : cases) {
    options.rotation = one.degrees;
    EXPECT_EQ(planScan(options).pictureSettings.rotation, one.rotation) << one.degrees;
  }
  for (const char* degrees : {"45", "-90", "360", "90.0", ""}) {
    options.rotation = degrees;
    EXPECT_THROW(planScan(options), UsageError) << degrees;
  }
}

TEST(ScanPlan, PlacesPapersInTheCorner) {
  const struct {
    const char* paper;
    PixelArea area;
  } cases[] = {
      {"a4", {0, 0, 2480, 3507}},           {"A4", {0, 0, 2480, 3507}},
      {"a5", {0, 0, 1748, 2480}},           {"a6", {0, 0, 1240, 1748}},
      {"b5", {0, 0, 2079, 2953}},           {"Letter", {0, 0, 2550, 3300}},
      {"4x6in", {0, 0, 1200, 1800}},        {"10x15cm", {0, 0, 1181, 1772}},
      {"a5-landscape", {0, 0, 2480, 1748}}, {"Statement-Landscape", {0, 0, 2550, 1650}},
  };
  for (const auto& one : cases) {
    ScanOptions options = optionsFor("page.tiff");
    options.paper = one.paper;
    EXPECT_EQ(planScan(options).request.settings.area, one.area) << one.paper;
    EXPECT_THAT(planScan(options).notes, IsEmpty()) << one.paper;
  }
}

TEST(ScanPlan, NotesAPaperLargerThanTheBed) {
  ScanOptions options = optionsFor("page.tiff");
  options.paper = "legal";
  EXPECT_EQ(planScan(options).request.settings.area, wholeBed(300));
  EXPECT_THAT(planScan(options).notes,
              ElementsAre("The paper is larger than the scan bed: scanning the part inside it, "
                          "2550 x 3507 pixels."));
}

TEST(ScanPlan, AcceptsA4WithoutANoteAtEveryResolution) {
  for (const char* resolution : {"75", "150", "200", "300", "400", "600"}) {
    ScanOptions options = optionsFor("page.tiff");
    options.mode = "gray";
    options.paper = "a4";
    options.resolution = resolution;
    EXPECT_THAT(planScan(options).notes, IsEmpty()) << resolution;
  }
}

TEST(ScanPlan, PutsPagesIntoOneFileWhereTheFormatHoldsThem) {
  const struct {
    const char* output;
    bool filePerPage;
  } cases[] = {{"a.tiff", false}, {"a.pdf", false}, {"-", false},
               {"a.png", true},   {"a.jpg", true},  {"a.pnm", true}};
  for (const auto& one : cases) {
    ScanOptions options = optionsFor(one.output);
    EXPECT_FALSE(planScan(options).filePerPage);
    EXPECT_FALSE(planScan(options).pictureSettings.multiPage);
    options.pages = "3";
    EXPECT_EQ(planScan(options).filePerPage, one.filePerPage) << one.output;
    EXPECT_TRUE(planScan(options).pictureSettings.multiPage);
    EXPECT_EQ(planScan(options).pages, 3U);
  }
}

TEST(ScanPlan, NumbersThePagesFromTheFirst) {
  for (const char* output : {"a%d.pdf", "a%02d.png"}) {
    ScanOptions options = optionsFor(output);
    EXPECT_EQ(planScan(options).firstPage, 1U);
    options.firstPage = 0;
    EXPECT_EQ(planScan(options).firstPage, 0U);
  }
  ScanOptions batch = optionsFor("a.png");
  batch.pages = "3";
  batch.firstPage = 999;
  EXPECT_EQ(planScan(batch).firstPage, 999U);
}

TEST(ScanPlan, GoesOnToTheGreatestNumberOfPagesWithoutOne) {
  ScanOptions options = optionsFor("a.png");
  options.pages = "";
  EXPECT_EQ(planScan(options).pages, mostPages);
  EXPECT_TRUE(planScan(options).filePerPage);
}

TEST(ScanPlan, TakesTheQualityOfPictures) {
  ScanOptions options = optionsFor("page.pdf");
  EXPECT_EQ(planScan(options).pictureSettings.quality, 90);
  options.quality = "1";
  EXPECT_EQ(planScan(options).pictureSettings.quality, 1);
  EXPECT_FALSE(planScan(options).pictureSettings.lossless);
  options.quality = "lossless";
  EXPECT_TRUE(planScan(options).pictureSettings.lossless);
}

TEST(ScanPlan, HandsTheRestToTheWorker) {
  ScanOptions options = optionsFor("page.pdf");
  EXPECT_EQ(planScan(options).request.timeout, std::chrono::seconds(30));
  options.timeout = "1.5";
  options.verbose = true;
  options.virtualScanner.faults = {"stall:7", "unplug"};
  const ScanPlan plan = planScan(options);
  EXPECT_EQ(plan.request.timeout, std::chrono::milliseconds(1500));
  EXPECT_TRUE(plan.request.verbose);
  EXPECT_THAT(plan.request.virtualScanner.faults, ElementsAre("stall:7", "unplug"));
}

ScanOptions optionsWith(const std::string& defaults, const std::string& output = "page.png") {
  ScanOptions options = optionsFor(output);
  options.defaults = parseUserDefaults(defaults, "config");
  return options;
}

TEST(DefaultsOfAUser, ReplaceThoseOfTheProgram) {
  const ScanPlan plan =
      planScan(optionsWith("device = usb:1-2\nbrightness = 5\ncontrast = 6\ngamma = 2\npaper = a5\n"));
  EXPECT_EQ(plan.device, "usb:1-2");
  EXPECT_EQ(plan.request.tone, (Tone{5, 6, 200}));
  EXPECT_EQ(plan.request.settings.area.width, 1748U);
}

TEST(DefaultsOfAUser, GiveWayToOptions) {
  ScanOptions options =
      optionsWith("device = usb:1-2\nbrightness = 5\npaper = a5\nquality = 40\n", "page.jpg");
  options.device = "usb";
  options.brightness = "0";
  options.quality = "80";
  options.area = "0x0+9x9px";
  const ScanPlan plan = planScan(options);
  EXPECT_EQ(plan.device, "usb");
  EXPECT_TRUE(plan.request.tone.isNeutral());
  EXPECT_EQ(plan.pictureSettings.quality, 80);
  EXPECT_EQ(plan.request.settings.area, (PixelArea{0, 0, 9, 9}));
}

TEST(DefaultsOfAUser, AreLeftOutWhereTheyDoNotFit) {
  const std::string defaults = "threshold = 0\nbrightness = 5\ngamma = 2\nquality = lossless\ndevice = usb\n";
  ScanOptions options = optionsWith(defaults);
  EXPECT_EQ(planScan(options).request.threshold, std::nullopt);
  EXPECT_FALSE(planScan(options).pictureSettings.lossless);  // of PNG
  options.mode = "lineart";
  EXPECT_EQ(planScan(options).request.threshold, 0);
  EXPECT_TRUE(planScan(options).request.tone.isNeutral());
  options.virtualScanner.warmUpMs = 1;  // an option of the virtual scanner selects that
  EXPECT_EQ(planScan(options).device, std::nullopt);
  EXPECT_EQ(planScan(optionsWith(defaults, "page.jpg")).pictureSettings.quality, 90);
  EXPECT_TRUE(planScan(optionsWith(defaults, "page.pdf")).pictureSettings.lossless);
}

}  // namespace
