#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "ColorProfile.h"
#include "FileSizeLimit.h"
#include "WritingPictures.h"

namespace {

using namespace frontend;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

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

}  // namespace
