#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "ColorProfile.h"
#include "FileSizeLimit.h"
#include "PictureFiles.h"
#include "PictureWriter.h"
#include "TemporaryFolder.h"
#include "TiffFile.h"

namespace {

using namespace frontend;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::Le;
using testing::StartsWith;

constexpr PictureFormat formats[] = {PictureFormat::tiff, PictureFormat::png, PictureFormat::jpeg,
                                     PictureFormat::pnm, PictureFormat::pdf};

PictureSettings settings() {
  return {.software = "q750 9.9.9"};
}

// A picture without two equal rows or columns. The padding bits of a row are 0.
struct TestPicture {
  TestPicture(std::uint32_t width, std::uint32_t height, std::uint32_t channels, std::uint32_t bits = 8)
      : layout{width, height, channels, bits, 300}, pixels(static_cast<std::size_t>(layout.bytes())) {
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    const auto spare = static_cast<unsigned>(layout.rowBytes() * 8 - std::size_t{width} * channels * bits);
    for (std::uint32_t row = 1; row <= height; ++row) {
      std::uint8_t& last = pixels[row * layout.rowBytes() - 1];
      last = static_cast<std::uint8_t>(last >> spare << spare);
    }
  }
  void writeTo(PictureWriter& writer) const {
    writer.beginPage(layout);
    writeRows(writer, layout.height);
    writer.endPage();
  }
  void writeRows(PictureWriter& writer, std::uint32_t count) const {
    for (std::uint32_t row = 0; row < count; ++row) writer.writeRow(pixels.data() + row * layout.rowBytes());
  }
  // As in a file in which 1 is white, padding bits included.
  std::vector<std::uint8_t> inverted() const {
    std::vector<std::uint8_t> result = pixels;
    for (std::uint8_t& byte : result) byte = static_cast<std::uint8_t>(~byte);
    return result;
  }

  PictureLayout layout;
  std::vector<std::uint8_t> pixels;
};

const TestPicture color(37, 29, 3);
const TestPicture grey(501, 1203, 1);
const TestPicture lineart(72, 61, 1, 1);
const TestPicture narrowLineart(13, 61, 1, 1);

class WritingPictures : public testing::Test {
 protected:
  int create() const { return open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600); }
  // Whether the sink is good afterwards.
  bool write(PictureFormat format, const std::vector<const TestPicture*>& pages,
             const PictureSettings& used = settings()) {
    const int descriptor = create();
    ByteSink sink(descriptor);
    {
      const auto writer = makePictureWriter(format, sink, used);
      for (const TestPicture* page : pages) page->writeTo(*writer);
      writer->finish();
    }
    close(descriptor);
    return sink.good();
  }
  std::vector<std::uint8_t> pageOfPdf(int page = 0) {
    return PngFile(path + "-00" + std::to_string(page) + ".png").pixels;
  }

  TemporaryFolder folder;
  std::string path = folder / "picture";
};

TEST_F(WritingPictures, WritesColourAsTiff) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color}));
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, color.pixels);
  EXPECT_EQ(file.tags,
            "  Image Width: 37 Image Length: 29\n"
            "  Resolution: 300, 300 pixels/inch\n"
            "  Bits/Sample: 8\n"
            "  Compression Scheme: AdobeDeflate\n"
            "  Photometric Interpretation: RGB color\n"
            "  Orientation: row 0 top, col 0 lhs\n"
            "  Samples/Pixel: 3\n"
            "  Rows/Strip: 2361\n"
            "  Planar Configuration: single image plane\n"
            "  Make: Quenvar\n"
            "  Model: Q750\n"
            "  Software: q750 9.9.9\n"
            "  ICC Profile: <present>, 2628 bytes\n"
            "  Predictor: horizontal differencing 2 (0x2)\n");
}

TEST_F(WritingPictures, WritesGreyAsTiff) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&grey}));  // more than one strip
  const TiffFile file(path);
  EXPECT_EQ(file.pixels, grey.pixels);
  EXPECT_THAT(file.tags, HasSubstr("Photometric Interpretation: min-is-black"));
  EXPECT_THAT(file.tags, HasSubstr("Samples/Pixel: 1"));
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsTiff) {
  for (const TestPicture* picture : {&lineart, &narrowLineart}) {
    ASSERT_TRUE(write(PictureFormat::tiff, {picture}));
    const TiffFile file(path);
    EXPECT_EQ(file.pixels, picture->pixels);
    EXPECT_THAT(file.tags, HasSubstr("Compression Scheme: CCITT Group 4\n"
                                     "  Photometric Interpretation: min-is-white\n"));
    EXPECT_THAT(file.tags, HasSubstr("Bits/Sample: 1\n"));
    EXPECT_THAT(file.tags, HasSubstr("Rows/Strip: 61\n"));
  }
}

TEST_F(WritingPictures, WritesPagesIntoOneTiff) {
  PictureSettings several = settings();
  several.multiPage = true;
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart, &grey}, several));
  EXPECT_EQ(TiffFile(path).pixels, color.pixels);
  EXPECT_EQ(TiffFile(path, 1).pixels, lineart.pixels);
  EXPECT_EQ(TiffFile(path, 2).pixels, grey.pixels);
  EXPECT_THAT(TiffFile(path, 2).tags, HasSubstr("Subfile Type: multi-page document"));
  EXPECT_THAT(TiffFile(path, 2).tags, HasSubstr("Page Number: 2-0"));
}

TEST_F(WritingPictures, WritesTiffInOneOrderOfBytesEverywhere) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color}));
  EXPECT_EQ(contentOf(path).substr(0, 4), std::string("II*\0", 4));
}

TEST_F(WritingPictures, WritesColourAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&color}));
  const PngFile file(path);
  EXPECT_EQ(file.width, 37U);
  EXPECT_EQ(file.height, 29U);
  EXPECT_EQ(file.depth, 8);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_RGB);
  EXPECT_EQ(file.pixels, color.pixels);
  EXPECT_EQ(file.pixelsPerMetreX, 11811U);
  EXPECT_EQ(file.pixelsPerMetreY, 11811U);
  EXPECT_EQ(file.software, "q750 9.9.9");
}

TEST_F(WritingPictures, WritesGreyAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&grey}));
  const PngFile file(path);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_GRAY);
  EXPECT_EQ(file.depth, 8);
  EXPECT_EQ(file.pixels, grey.pixels);
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsPng) {
  ASSERT_TRUE(write(PictureFormat::png, {&lineart}));
  const PngFile file(path);
  EXPECT_EQ(file.colorType, PNG_COLOR_TYPE_GRAY);
  EXPECT_EQ(file.depth, 1);
  EXPECT_EQ(file.width, 72U);
  EXPECT_EQ(file.pixels, lineart.inverted());
}

TEST_F(WritingPictures, WritesPnm) {
  const TestPicture tiny(2, 1, 3);
  ASSERT_TRUE(write(PictureFormat::pnm, {&tiny}));
  EXPECT_EQ(contentOf(path), "P6\n# q750 9.9.9, 300 dots per inch\n2 1\n255\n" +
                                 std::string(tiny.pixels.begin(), tiny.pixels.end()));
  const TestPicture tinyGrey(3, 2, 1);
  ASSERT_TRUE(write(PictureFormat::pnm, {&tinyGrey}));
  EXPECT_EQ(contentOf(path), "P5\n# q750 9.9.9, 300 dots per inch\n3 2\n255\n" +
                                 std::string(tinyGrey.pixels.begin(), tinyGrey.pixels.end()));
  ASSERT_TRUE(write(PictureFormat::pnm, {&narrowLineart}));
  EXPECT_EQ(contentOf(path), "P4\n# q750 9.9.9, 300 dots per inch\n13 61\n" +
                                 std::string(narrowLineart.pixels.begin(), narrowLineart.pixels.end()));
}

// The sizes of the system calls that write the picture as PNM: each is one packet of such a socket.
std::vector<std::size_t> writesOf(const TestPicture& picture) {
  int ends[2];
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  std::vector<std::size_t> sizes;
  std::thread reader([&] {
    std::vector<char> packet(1 << 20);
    for (ssize_t size; (size = recv(ends[1], packet.data(), packet.size(), 0)) > 0;)
      sizes.push_back(static_cast<std::size_t>(size));
  });
  ByteSink sink(ends[0]);
  picture.writeTo(*makePnmWriter(sink, settings()));
  close(ends[0]);
  reader.join();
  close(ends[1]);
  return sizes;
}

TEST_F(WritingPictures, WritesManyRowsOfAPnmAtOnce) {
  EXPECT_THAT(writesOf(color), testing::ElementsAre(45 + 37 * 29 * 3));
  // Rows of 40 KB do not fit in twos; those of 90 KB are not collected.
  EXPECT_THAT(writesOf(TestPicture(40'000, 3, 1)), testing::ElementsAre(47 + 40'000, 40'000, 40'000));
  EXPECT_THAT(writesOf(TestPicture(30'000, 2, 3)), testing::ElementsAre(47, 90'000, 90'000));
}

// Rows of one bit per pixel with their padding bits set to 0.
std::vector<std::uint8_t> withoutPadding(std::vector<std::uint8_t> rows, const PictureLayout& layout) {
  const auto spare = static_cast<unsigned>(layout.rowBytes() * 8 - layout.width);
  for (std::size_t last = layout.rowBytes() - 1; last < rows.size(); last += layout.rowBytes())
    rows[last] = static_cast<std::uint8_t>(rows[last] >> spare << spare);
  return rows;
}

// The greatest difference between the pixels of two pictures.
int distance(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
  int largest = a.size() == b.size() ? 0 : 256;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// JPEG is made for pictures that change slowly.
TestPicture smooth(std::uint32_t channels) {
  TestPicture picture(64, 48, channels);
  for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
    const std::size_t x = i % picture.layout.rowBytes() / channels;
    picture.pixels[i] = static_cast<std::uint8_t>(x * 2 + i / picture.layout.rowBytes() + i % channels * 20);
  }
  return picture;
}

TEST_F(WritingPictures, WritesColourAndGreyAsJpeg) {
  for (const std::uint32_t channels : {3U, 1U}) {
    const TestPicture picture = smooth(channels);
    ASSERT_TRUE(write(PictureFormat::jpeg, {&picture}));
    const JpegFile file(path);
    EXPECT_EQ(file.width, 64U);
    EXPECT_EQ(file.height, 48U);
    EXPECT_EQ(file.channels, static_cast<int>(channels));
    EXPECT_EQ(file.densityUnit, 1);
    EXPECT_EQ(file.densityX, 300);
    EXPECT_EQ(file.densityY, 300);
    EXPECT_EQ(file.comment, "q750 9.9.9");
    EXPECT_LT(distance(file.pixels, picture.pixels), 6);
  }
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsGreyJpeg) {
  TestPicture picture(16, 8, 1, 1);
  for (std::size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = i % 2 == 0 ? 0xFF : 0;
  ASSERT_TRUE(write(PictureFormat::jpeg, {&picture}));
  const JpegFile file(path);
  EXPECT_EQ(file.channels, 1);
  std::vector<std::uint8_t> expected;
  for (int row = 0; row < 8; ++row) {
    expected.insert(expected.end(), 8, 0);
    expected.insert(expected.end(), 8, 255);
  }
  EXPECT_LT(distance(file.pixels, expected), 6);
}

TEST_F(WritingPictures, MakesSmallerJpegsOfLowerQuality) {
  PictureSettings poor = settings();
  poor.quality = 20;
  for (const PictureFormat format : {PictureFormat::jpeg, PictureFormat::pdf}) {
    write(format, {&grey});
    const std::size_t usual = contentOf(path).size();
    write(format, {&grey}, poor);
    EXPECT_LT(contentOf(path).size(), usual / 2);
  }
}

TEST_F(WritingPictures, WritesPagesIntoOnePdf) {
  ASSERT_TRUE(write(PictureFormat::pdf, {&color, &grey, &lineart}));
  EXPECT_THAT(printedBy("qpdf --check '" + path + "'"),
              HasSubstr("No syntax or stream encoding errors found"));
  const std::string information = printedBy("pdfinfo -f 1 -l 3 '" + path + "'");
  EXPECT_THAT(information, HasSubstr("Producer:        q750 9.9.9\n"));
  EXPECT_THAT(information, HasSubstr("Pages:           3\n"));
  EXPECT_THAT(information, HasSubstr("Page    1 size:  8.88 x 6.96 pts\n"));
  EXPECT_THAT(information, HasSubstr("Page    2 size:  120.24 x 288.72 pts\n"));
  EXPECT_THAT(information, HasSubstr("Page    3 size:  17.28 x 14.64 pts\n"));
  EXPECT_THAT(information, HasSubstr("PDF version:     1.4\n"));
  const std::string images = printedBy("pdfimages -list '" + path + "'");
  EXPECT_THAT(images, testing::ContainsRegex("1 +0 image +37 +29 +icc +3 +8 +jpeg +no +[0-9]+ +0 +300 +300"));
  EXPECT_THAT(images,
              testing::ContainsRegex("2 +1 image +501 +1203 +icc +1 +8 +jpeg +no +[0-9]+ +0 +300 +300"));
  EXPECT_THAT(images,
              testing::ContainsRegex("3 +2 image +72 +61 +gray +1 +1 +ccitt +no +[0-9]+ +0 +300 +300"));
}

TEST_F(WritingPictures, NamesTheTitleAndTheTimeOfAPdf) {
  PictureSettings dated = settings();
  dated.title = "R\xC3\xA9sum\xC3\xA9 (2)";
  dated.created = 951868799;  // one second before the end of a leap day
  ASSERT_TRUE(write(PictureFormat::pdf, {&color}, dated));
  const std::string information = printedBy("pdfinfo -isodates '" + path + "'");
  EXPECT_THAT(information, HasSubstr("Title:           R\xC3\xA9sum\xC3\xA9 (2)\n"));
  EXPECT_THAT(information, HasSubstr("CreationDate:    2000-02-29T23:59:59Z\n"));
}

TEST_F(WritingPictures, WritesAPdfWhoseTitleIsNotInUtf8) {
  PictureSettings latin = settings();
  latin.title = "R\xE9sum\xE9";
  ASSERT_TRUE(write(PictureFormat::pdf, {&color}, latin));
  EXPECT_THAT(printedBy("qpdf --check '" + path + "'"),
              HasSubstr("No syntax or stream encoding errors found"));
}

TEST_F(WritingPictures, NamesTheColorSpaceInATiff) {
  for (const TestPicture* picture : {&color, &grey, &lineart}) {
    write(PictureFormat::tiff, {picture});
    const std::string& profile = colorProfileOf(picture->layout);
    const std::string content = contentOf(path);
    EXPECT_EQ(content.find(profile) != std::string::npos, true);
    EXPECT_EQ(TiffFile(path).tags.find("ICC Profile") == std::string::npos, profile.empty());
  }
}

TEST_F(WritingPictures, NamesTheColorSpaceInAPng) {
  write(PictureFormat::png, {&color});
  EXPECT_TRUE(PngFile(path).srgb);
  write(PictureFormat::png, {&grey});
  EXPECT_FALSE(PngFile(path).srgb);
  EXPECT_NEAR(PngFile(path).gamma, 1 / 2.2, 1e-5);
  write(PictureFormat::png, {&lineart});
  EXPECT_FALSE(PngFile(path).srgb);
  EXPECT_EQ(PngFile(path).gamma, 0);
}

TEST_F(WritingPictures, NamesTheColorSpaceInAJpeg) {
  write(PictureFormat::jpeg, {&color});
  EXPECT_EQ(JpegFile(path).profile, colorProfileOf(color.layout));
  for (const TestPicture* gray : {&grey, &lineart}) {
    write(PictureFormat::jpeg, {gray});
    EXPECT_EQ(JpegFile(path).profile, colorProfileOf(grey.layout));
  }
}

std::size_t countOf(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
  return count;
}

TEST_F(WritingPictures, NamesEachColorSpaceOnceInAPdf) {
  write(PictureFormat::pdf, {&color, &grey, &color, &lineart, &grey});
  const std::string content = contentOf(path);
  EXPECT_EQ(countOf(colorProfileOf(color.layout), content), 1U);
  EXPECT_EQ(countOf(colorProfileOf(grey.layout), content), 1U);
  EXPECT_EQ(countOf("/ICCBased", content), 2U);
  EXPECT_EQ(countOf("/ColorSpace /DeviceGray", content), 1U);
  const std::string images = printedBy("pdfimages -list '" + path + "'");
  EXPECT_EQ(countOf(" icc ", images), 4U);
  EXPECT_EQ(countOf(" gray ", images), 1U);
}

TEST_F(WritingPictures, KeepsTheColorOfFineLinesInAJpegOfHighQuality) {
  PictureSettings chosen = settings();
  for (const int quality : {lowestQuality, 89, 90, highestQuality}) {
    chosen.quality = quality;
    write(PictureFormat::jpeg, {&color}, chosen);
    EXPECT_EQ(JpegFile(path).fullColor, quality >= 90) << quality;
    write(PictureFormat::pdf, {&color}, chosen);
    printedBy("pdfimages -j '" + path + "' '" + path + "'");
    EXPECT_EQ(JpegFile(path + "-000.jpg").fullColor, quality >= 90) << quality;
  }
}

TEST_F(WritingPictures, LosesNothingInAPdfOnRequest) {
  PictureSettings lossless = settings();
  lossless.lossless = true;
  ASSERT_TRUE(write(PictureFormat::pdf, {&color, &grey, &lineart}, lossless));
  printedBy("qpdf --check '" + path + "'");
  extractPages(path);
  EXPECT_EQ(pageOfPdf(0), color.pixels);
  EXPECT_EQ(storedPixels(path, 1), color.pixels);
  EXPECT_EQ(storedPixels(path, 2), grey.pixels);
  EXPECT_EQ(pageOfPdf(2), lineart.inverted());
}

TEST_F(WritingPictures, WritesBlackAndWhiteAsGroup4IntoAPdf) {
  const TestPicture wide(1001, 40, 1, 1);
  for (const TestPicture* picture : {&lineart, &narrowLineart, &wide}) {
    ASSERT_TRUE(write(PictureFormat::pdf, {picture}));
    EXPECT_THAT(printedBy("qpdf --json --json-key=qpdf '" + path + "'"),
                AllOf(HasSubstr("\"/Filter\": \"/CCITTFaxDecode\""), HasSubstr("\"/K\": -1")));
    extractPages(path);
    EXPECT_EQ(withoutPadding(pageOfPdf(), picture->layout),
              withoutPadding(picture->inverted(), picture->layout));
  }
}

// The polarity of the page as it is printed, not only of its image.
TEST_F(WritingPictures, PrintsTheOnesOfBlackAndWhiteInBlack) {
  TestPicture half(16, 8, 1, 1);
  for (std::size_t i = 0; i < half.pixels.size(); ++i) half.pixels[i] = i % 2 == 0 ? 0xFF : 0;
  ASSERT_TRUE(write(PictureFormat::pdf, {&half}));
  printedBy("pdftoppm -r 300 -gray '" + path + "' '" + path + "'");
  const std::string page = contentOf(path + "-1.pgm");
  const std::string header = "P5\n16 8\n255\n";
  ASSERT_THAT(page, StartsWith(header));
  EXPECT_EQ(page.substr(header.size(), 7), std::string(7, '\0'));  // between both halves it is interpolated
  EXPECT_EQ(page.substr(header.size() + 9, 7), std::string(7, '\xFF'));
}

TEST_F(WritingPictures, PutsTheJpegIntoThePdfAsItIs) {
  const TestPicture picture = smooth(3);
  ASSERT_TRUE(write(PictureFormat::pdf, {&picture}));
  extractPages(path);
  EXPECT_LT(distance(pageOfPdf(), picture.pixels), 6);
}

TEST_F(WritingPictures, TurnsPagesInEveryFormat) {
  PictureSettings turned = settings();
  turned.rotation = Rotation::quarter;
  turned.lossless = true;
  TestPicture upright(narrowLineart.layout.height, narrowLineart.layout.width, 1, 1);
  const auto rows = makeRotatedRows(narrowLineart.pixels, narrowLineart.layout, Rotation::quarter);
  for (std::uint32_t row = 0; row < upright.layout.height; ++row)
    std::copy_n(rows->next(), upright.layout.rowBytes(), &upright.pixels[row * upright.layout.rowBytes()]);
  for (const PictureFormat format : formats) {
    ASSERT_TRUE(write(format, {&upright}));
    const std::string expected = contentOf(path);
    ASSERT_TRUE(write(format, {&narrowLineart}, turned));
    EXPECT_TRUE(contentOf(path) == expected) << static_cast<int>(format);
  }
}

TEST_F(WritingPictures, AbandonsATurnedPage) {
  PictureSettings turned = settings();
  turned.multiPage = true;
  turned.rotation = Rotation::threeQuarters;
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    ASSERT_TRUE(write(format, {&color}, turned));
    const std::string expected = contentOf(path);
    const int descriptor = create();
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(format, sink, turned);
    grey.writeTo(*writer);
    writer->setPageAside();
    color.writeTo(*writer);
    writer->beginPage(lineart.layout);
    lineart.writeRows(*writer, 1);
    writer->abandonPage();
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(contentOf(path) == expected);
  }
}

TEST_F(WritingPictures, WritesTheSmallestPicture) {
  const TestPicture bit(1, 1, 1, 1);
  const TestPicture byte(1, 1, 1);
  for (const PictureFormat format : formats) {
    EXPECT_TRUE(write(format, {&bit}));
    EXPECT_TRUE(write(format, {&byte}));
  }
}

TEST_F(WritingPictures, WritesTheSameBytesEveryTime) {
  for (const PictureFormat format : formats) {
    write(format, {&color});
    const std::string first = contentOf(path);
    write(format, {&color});
    EXPECT_EQ(contentOf(path), first);
  }
}

TEST_F(WritingPictures, DropsAnAbandonedPage) {
  PictureSettings several = settings();
  several.multiPage = true;
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    ASSERT_TRUE(write(format, {&color, &lineart}, several));
    const std::string expected = contentOf(path);
    for (const TestPicture* third : {&grey, &lineart}) {
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, several);
      color.writeTo(*writer);
      lineart.writeTo(*writer);
      writer->beginPage(third->layout);
      third->writeRows(*writer, third->layout.height - 1);
      writer->abandonPage();
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_EQ(contentOf(path), expected);
    }
  }
}

PictureSettings severalPages() {
  PictureSettings several = settings();
  several.multiPage = true;
  return several;
}

TEST_F(WritingPictures, KeepsThePagesBeforeOneThatTheDiskHasNoRoomFor) {
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart}, severalPages()));
  const std::string expected = contentOf(path);
  ASSERT_TRUE(write(PictureFormat::tiff, {&color, &lineart, &grey}, severalPages()));
  const auto whole = static_cast<rlim_t>(contentOf(path).size());
  // Wherever the room ends: in the rows, in the directory, or in the link to it.
  for (rlim_t room = expected.size(); room < whole; room += room + 400 < whole ? 9973 : 7) {
    const int descriptor = create();
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(PictureFormat::tiff, sink, severalPages());
    color.writeTo(*writer);
    lineart.writeTo(*writer);
    {
      const FileSizeLimit limit(room);
      grey.writeTo(*writer);
    }
    EXPECT_FALSE(sink.good());
    sink.recover();
    writer->abandonPage();
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(sink.good()) << sink.failure();
    ASSERT_TRUE(contentOf(path) == expected) << room;
  }
}

TEST_F(WritingPictures, ReplacesThePageThatWasSetAside) {
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    for (const TestPicture* first : {&color, &lineart}) {
      ASSERT_TRUE(write(format, {first, &narrowLineart, &color}, severalPages()));
      const std::string expected = contentOf(path);
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, severalPages());
      first->writeTo(*writer);
      grey.writeTo(*writer);
      writer->setPageAside();
      narrowLineart.writeTo(*writer);
      color.writeTo(*writer);
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_TRUE(contentOf(path) == expected);
    }
  }
}

TEST_F(WritingPictures, PutsAPageBackWhereTheNextOneIsAbandoned) {
  for (const PictureFormat format : {PictureFormat::tiff, PictureFormat::pdf}) {
    for (const std::vector<const TestPicture*>& pages : std::vector<std::vector<const TestPicture*>>{
             {&grey}, {&color, &lineart}, {&color, &lineart, &grey}}) {
      ASSERT_TRUE(write(format, pages, severalPages()));
      const std::string expected = contentOf(path);
      const int descriptor = create();
      ByteSink sink(descriptor);
      const auto writer = makePictureWriter(format, sink, severalPages());
      for (const TestPicture* page : pages) page->writeTo(*writer);
      writer->setPageAside();
      writer->beginPage(grey.layout);
      grey.writeRows(*writer, 1000);
      writer->abandonPage();
      writer->finish();
      close(descriptor);
      EXPECT_TRUE(sink.good());
      EXPECT_TRUE(contentOf(path) == expected);
    }
  }
}

TEST_F(WritingPictures, DropsPagesOfAPdfUntilItFits) {
  std::vector<std::string> documents;  // of one page, of two, ...
  std::vector<const TestPicture*> pages;
  for (int i = 0; i < 4; ++i) {
    pages.push_back(&grey);
    ASSERT_TRUE(write(PictureFormat::pdf, pages));
    documents.push_back(contentOf(path));
  }
  for (std::size_t fitting = 0; fitting < 4; ++fitting) {
    const int descriptor = create();
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(PictureFormat::pdf, sink, settings());
    for (const TestPicture* page : pages) page->writeTo(*writer);
    const FileSizeLimit limit(fitting == 0 ? documents[0].size() - 1 : documents[fitting - 1].size());
    std::uint32_t left = 4;
    for (writer->finish(); !sink.good() && left > 0;) {
      sink.recover();
      left = writer->shrink(Shortage::disk);
      if (left > 0) writer->finish();
    }
    close(descriptor);
    EXPECT_EQ(left, fitting);
    EXPECT_TRUE(contentOf(path) == (fitting == 0 ? "" : documents[fitting - 1])) << fitting;
  }
}

TEST_F(WritingPictures, NeverSavesAPdfWithoutPages) {
  const int descriptor = create();
  ByteSink sink(descriptor);
  makePictureWriter(PictureFormat::pdf, sink, settings())->finish();
  EXPECT_EQ(sink.failure(), "the document has no pages");
  EXPECT_EQ(contentOf(path), "");
  close(descriptor);
}

TEST_F(WritingPictures, ReportsWhyItFailed) {
  const int full = open("/dev/full", O_RDWR);
  for (const PictureFormat format : formats) {
    ByteSink sink(full);
    const auto writer = makePictureWriter(format, sink, settings());
    grey.writeTo(*writer);
    writer->finish();
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "No space left on device");
  }
  close(full);
}

TEST_F(WritingPictures, EndsOnlyForACancelThatInsistsWhileSaving) {
  Cancellation cancel;
  cancel.request();
  const int descriptor = create();
  ByteSink sink(descriptor, &cancel);
  sink.setSaving(true);
  EXPECT_TRUE(sink.write("saved", 5));
  cancel.insist();
  EXPECT_FALSE(sink.write("lost", 4));
  EXPECT_TRUE(sink.cancelled());
  close(descriptor);
  EXPECT_EQ(contentOf(path), "saved");
}

TEST_F(WritingPictures, WritesTheSameFileWhenItIsFlushedAfterEveryRow) {
  for (const PictureFormat format : formats) {
    ASSERT_TRUE(write(format, {&grey}));
    const std::string whole = contentOf(path);
    ByteSink sink(create());
    const auto writer = makePictureWriter(format, sink, settings());
    writer->beginPage(grey.layout);
    for (std::uint32_t row = 0; row < grey.layout.height; ++row) {
      writer->writeRow(grey.pixels.data() + row * grey.layout.rowBytes());
      writer->flush();
    }
    writer->endPage();
    writer->finish();
    EXPECT_EQ(contentOf(path), whole) << static_cast<int>(format);
  }
}

TEST_F(WritingPictures, PassesOnTheRowsOfAJpegThatAreEncodedWhenItIsFlushed) {
  ByteSink sink(create());
  const auto writer = makePictureWriter(PictureFormat::jpeg, sink, settings());
  writer->beginPage(grey.layout);
  grey.writeRows(*writer, 16);  // two rows of blocks
  EXPECT_EQ(contentOf(path).size(), 0U);
  writer->flush();
  EXPECT_GT(contentOf(path).size(), 4000U);
}

TEST_F(WritingPictures, StopsForACancel) {
  Cancellation cancel;
  cancel.request();
  for (const PictureFormat format : formats) {
    const int descriptor = create();
    ByteSink sink(descriptor, &cancel);
    const auto writer = makePictureWriter(format, sink, settings());
    color.writeTo(*writer);
    writer->finish();
    close(descriptor);
    EXPECT_TRUE(sink.cancelled());
    EXPECT_FALSE(sink.good());
    EXPECT_EQ(sink.failure(), "");
    EXPECT_EQ(contentOf(path), "");
  }
}

}  // namespace
