#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include "PageImage.h"
#include "PictureFiles.h"
#include "ProgramFixture.h"
#include "TiffFile.h"

namespace {

using testing::HasSubstr;

constexpr std::uint32_t left = 59, top = 118, width = 201, height = 99;

struct Mode {
  const char* name;
  bool color;
  bool lineart;
};

void PrintTo(const Mode& mode, std::ostream* out) {
  *out << mode.name;
}

constexpr Mode modes[] = {{"color", true, false}, {"gray", false, false}, {"lineart", false, true}};

// The part of the test chart as the scanner sends it, or as lineart with threshold 100.
std::vector<std::uint8_t> expectedPixels(const Mode& mode) {
  const std::vector<std::uint8_t> page = virtualscanner::paintPage(
      virtualscanner::Paper::testChart(), {150, mode.color, left, top, width, height});
  if (!mode.lineart) return page;
  constexpr std::size_t rowBytes = (width + 7) / 8;
  std::vector<std::uint8_t> bits(rowBytes * height);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      if (page[y * width + x] < 100) bits[y * rowBytes + x / 8] |= static_cast<std::uint8_t>(0x80 >> x % 8);
    }
  }
  return bits;
}

// With 1 for white and 0 for the padding bits.
std::vector<std::uint8_t> inverted(std::vector<std::uint8_t> bits) {
  constexpr std::size_t rowBytes = (width + 7) / 8;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    bits[i] = static_cast<std::uint8_t>(~bits[i]);
    if (i % rowBytes == rowBytes - 1) bits[i] &= 0x80;
  }
  return bits;
}

class EveryMode : public ProgramFixture, public testing::WithParamInterface<Mode> {
 protected:
  EveryMode() : expected(expectedPixels(GetParam())) {}

  std::string scanTo(const std::string& name, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"-o",     folder / name,     "-r", "150", "-m", GetParam().name,
                                       "--area", "59x118+201x99px", "-q"};
    if (GetParam().lineart) arguments.insert(arguments.end(), {"--threshold", "100"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProgramResult result = scan(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output + result.errors, "");
    return folder / name;
  }
  // Compares the rows of a PNG without their padding bits.
  void expectPng(const std::string& path) {
    PngFile file(path);
    EXPECT_EQ(file.depth, GetParam().lineart ? 1 : 8);
    EXPECT_EQ(file.colorType, GetParam().color ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY);
    if (GetParam().lineart) {
      EXPECT_EQ(inverted(file.pixels), inverted(inverted(expected)));
    } else {
      EXPECT_EQ(file.pixels, expected);
    }
  }

  std::vector<std::uint8_t> expected;
};

TEST_P(EveryMode, IsWrittenAsTiff) {
  const TiffFile file(scanTo("page.tiff"));
  EXPECT_EQ(file.pixels, expected);
  EXPECT_THAT(file.tags, HasSubstr("Resolution: 150, 150 pixels/inch"));
}

TEST_P(EveryMode, IsWrittenAsPng) {
  expectPng(scanTo("page.png"));
  EXPECT_EQ(PngFile(folder / "page.png").pixelsPerMetreX, 5906U);
}

TEST_P(EveryMode, IsWrittenAsPnm) {
  const std::string content = contentOf(scanTo("page.pnm"));
  const std::string pixels = content.substr(content.size() - std::min(content.size(), expected.size()));
  EXPECT_EQ(std::vector<std::uint8_t>(pixels.begin(), pixels.end()), expected);
  EXPECT_THAT(content, HasSubstr(", 150 dots per inch\n201 99\n"));
}

TEST_P(EveryMode, IsWrittenAsPdf) {
  const std::string path = scanTo("page.pdf", {"--quality", "lossless"});
  EXPECT_THAT(printedBy("qpdf --check '" + path + "'"), HasSubstr("No syntax or stream encoding errors"));
  EXPECT_THAT(printedBy("pdfinfo '" + path + "'"), HasSubstr("Page size:       96.48 x 47.52 pts\n"));
  if (GetParam().lineart) {
    extractPages(path);
    expectPng(path + "-000.png");
  } else {
    EXPECT_EQ(storedPixels(path, 1), expected);
  }
}

TEST_P(EveryMode, IsWrittenAsJpeg) {
  const JpegFile file(scanTo("page.jpg", {"--quality", "95"}));
  EXPECT_EQ(file.width, width);
  EXPECT_EQ(file.height, height);
  EXPECT_EQ(file.densityX, 150);
  EXPECT_EQ(file.channels, GetParam().color ? 3 : 1);
  double sum = 0;
  for (std::size_t i = 0; i < file.pixels.size(); ++i) {
    const int exact =
        GetParam().lineart
            ? ((expected[i / width * ((width + 7) / 8) + i % width / 8] << (i % width % 8) & 0x80) != 0 ? 0
                                                                                                        : 255)
            : expected[i];
    sum += std::abs(exact - file.pixels[i]);
  }
  EXPECT_LT(sum / static_cast<double>(file.pixels.size()), 6);
}

TEST_P(EveryMode, IsStreamedToStandardOutput) {
  for (const char* format : {"pnm", "png", "jpeg"}) {
    scanTo("file", {"--format", format});
    std::vector<std::string> arguments{
        "-o", "-", "--format", format, "-r", "150", "-m", GetParam().name, "-a", "59x118+201x99px", "-q"};
    if (GetParam().lineart) arguments.insert(arguments.end(), {"--threshold", "100"});
    EXPECT_TRUE(scan(arguments).output == contentOf(folder / "file")) << format;
  }
}

class Documents : public ProgramFixture {
 protected:
  ~Documents() override { unsetenv("SOURCE_DATE_EPOCH"); }
  static std::string scanTo(const std::string& path) {
    const ProgramResult result =
        scan({"-o", path, "--format", "pdf", "-r", "75", "-m", "lineart", "-a", "0x0+9x9px", "-q"});
    EXPECT_EQ(result.exitCode, 0);
    return result.output;
  }
};

TEST_F(Documents, NameTheirFileAndTheTime) {
  setenv("SOURCE_DATE_EPOCH", "951868799", 1);
  scanTo(folder / "Tax return.2026.pdf");
  const std::string information = printedBy("pdfinfo -isodates '" + (folder / "Tax return.2026.pdf") + "'");
  EXPECT_THAT(information, HasSubstr("Title:           Tax return.2026\n"));
  EXPECT_THAT(information, HasSubstr("CreationDate:    2000-02-29T23:59:59Z\n"));
}

TEST_F(Documents, AreDatedByTheClockOtherwise) {
  scanTo(folder / "page.pdf");
  EXPECT_THAT(printedBy("pdfinfo -isodates '" + (folder / "page.pdf") + "'"),
              testing::ContainsRegex("CreationDate: +20[2-9][0-9]-"));
}

TEST_F(Documents, AreStreamedToStandardOutputWithoutATitle) {
  writeContent(folder / "streamed.pdf", scanTo("-"));
  printedBy("qpdf --check '" + (folder / "streamed.pdf") + "'");
  EXPECT_THAT(printedBy("pdfinfo '" + (folder / "streamed.pdf") + "'"), testing::Not(HasSubstr("Title:")));
}

TEST_F(Documents, AreTheSameBytesForTheSameTime) {
  setenv("SOURCE_DATE_EPOCH", "951868799", 1);
  scanTo(folder / "page.pdf");
  const std::string first = contentOf(folder / "page.pdf");
  scanTo(folder / "page.pdf");
  EXPECT_TRUE(contentOf(folder / "page.pdf") == first);
}

INSTANTIATE_TEST_SUITE_P(Modes, EveryMode, testing::ValuesIn(modes),
                         [](const auto& row) { return std::string(row.param.name); });

class Tones : public ProgramFixture {};

TEST_F(Tones, ChangeTheValuesOfThePicture) {
  const std::vector<std::string> grey{"-r", "75", "-m", "gray", "-a", "0x0+9x9px", "-q"};
  const auto sample = [&](std::vector<std::string> more) {
    more.insert(more.end(), grey.begin(), grey.end());
    more.insert(more.end(), {"-o", folder / "page.pgm", "--virtual-paper", folder / "paper.pgm"});
    const ProgramResult result = scan(more);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return static_cast<std::uint8_t>(contentOf(folder / "page.pgm").back());
  };
  writeContent(folder / "paper.pgm", "P5 1 1 255 \x40");
  EXPECT_EQ(sample({"--brightness", "0", "--contrast", "0", "--gamma", "1"}), 0x40);
  EXPECT_GT(sample({"--brightness", "20"}), 0x40);
  EXPECT_LT(sample({"--contrast=20"}), 0x40);
  EXPECT_GT(sample({"--gamma", "1.8"}), 0x40);
  EXPECT_EQ(sample({"--contrast", "100"}), 0);
}

class Turning : public ProgramFixture {};

TEST_F(Turning, AppliesToTheAreaOnTheBed) {
  const std::vector<std::string> area = {"-r",         "75",  "-m", "gray", "-a", "10x20+31x17px",
                                         "--progress", "json"};
  const auto scanTo = [&](const std::string& name, const std::string& degrees) {
    std::vector<std::string> arguments = area;
    arguments.insert(arguments.end(), {"-o", folder / name, "--rotate", degrees});
    return scan(arguments).errors;
  };
  EXPECT_THAT(scanTo("upright.png", "0"), HasSubstr("\"width\":31,\"height\":17"));
  const std::string events = scanTo("turned.png", "90");
  EXPECT_EQ(events.find("\"width\":31"), std::string::npos) << events;
  EXPECT_THAT(events, HasSubstr("\"width\":17,\"height\":31"));
  const PngFile upright(folder / "upright.png");
  const PngFile turned(folder / "turned.png");
  ASSERT_EQ(turned.width, 17U);
  ASSERT_EQ(turned.height, 31U);
  EXPECT_EQ(turned.pixelsPerMetreX, upright.pixelsPerMetreX);
  for (std::size_t y = 0; y < 31; ++y) {
    for (std::size_t x = 0; x < 17; ++x)
      ASSERT_EQ(turned.pixels[y * 17 + x], upright.pixels[(16 - x) * 31 + y]) << x << ", " << y;
  }
}

TEST_F(Turning, LaysAPageOfAPdfOnItsSide) {
  const std::string path = folder / "page.pdf";
  EXPECT_EQ(
      scan({"-o", path, "-r", "150", "-m", "lineart", "-p", "letter", "--rotate", "270", "-q"}).exitCode, 0);
  EXPECT_THAT(printedBy("pdfinfo '" + path + "'"),
              testing::AllOf(HasSubstr("Page size:       792 x 612 pts"), HasSubstr("Page rot:        0\n")));
}

class Papers : public ProgramFixture {};

TEST_F(Papers, HaveTheirSizeInAPdf) {
  const std::string path = folder / "page.pdf";
  EXPECT_EQ(scan({"-o", path, "-r", "150", "-m", "lineart", "--paper", "letter", "-q"}).exitCode, 0);
  EXPECT_THAT(printedBy("pdfinfo '" + path + "'"), HasSubstr("Page size:       612 x 792 pts (letter)\n"));
}

TEST_F(Papers, AreCutOffAtTheBedWithANote) {
  const ProgramResult result = scan({"-o", folder / "page.png", "-r", "75", "-m", "gray", "-p", "Legal"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors,
              HasSubstr("q750: The paper is larger than the scan bed: scanning the part inside it, "
                        "637 x 876 pixels.\n"));
}

}  // namespace
