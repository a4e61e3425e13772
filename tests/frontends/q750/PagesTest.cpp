#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "PictureFiles.h"
#include "ProgramFixture.h"
#include "TiffFile.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char question[] =
    "Place the next page on the scanner and press Enter (r to scan the last page again, q to save and "
    "quit): ";

// Several pages, requested through standard input.
class SeveralPages : public ProgramFixture {
 protected:
  ProgramResult scanPages(const std::string& output, const std::string& answers,
                          const std::vector<std::string>& more = {}) {
    Pipe input;
    input.send(answers);
    input.closeWriter();
    std::vector<std::string> arguments{"-o", output, "-r", "75", "-m", "gray", "-a", "0x0+30x20px", "-q"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return scan(arguments, [&input] { dup2(input.reader(), STDIN_FILENO); });
  }
  static std::string pagesOf(const std::string& pdf) {
    printedBy("qpdf --check '" + pdf + "'");
    return printedBy("pdfinfo '" + pdf + "' | grep ^Pages | tr -dc 0-9");
  }

  std::string pdf = folder / "document.pdf";
};

TEST_F(SeveralPages, ShareOnePdf) {
  const ProgramResult result = scanPages(pdf, "\n\n", {"--pages", "3"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.errors, std::string(question) + question);
  EXPECT_EQ(pagesOf(pdf), "3");
  EXPECT_THAT(folder.names(), ElementsAre("document.pdf"));
}

TEST_F(SeveralPages, EndWithTheUserOrTheInput) {
  for (const char* answers : {"\nq\n", "\n"}) {
    const ProgramResult result = scanPages(pdf, answers, {"--pages", "9"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(pagesOf(pdf), "2");
  }
}

TEST_F(SeveralPages, ShareOneTiff) {
  const std::string path = folder / "document.tiff";
  EXPECT_EQ(scanPages(path, "\n", {"--pages", "2"}).exitCode, 0);
  EXPECT_EQ(TiffFile(path, 0).pixels.size(), 600U);
  EXPECT_EQ(TiffFile(path, 1).pixels, TiffFile(path, 0).pixels);
  EXPECT_THAT(printedBy("tiffinfo '" + path + "' | grep -c '^=== TIFF directory'"), HasSubstr("2"));
}

TEST_F(SeveralPages, AreFilesOfTheirOwnInOtherFormats) {
  EXPECT_EQ(scanPages(folder / "a.png", "\n", {"--pages", "2"}).exitCode, 0);
  EXPECT_EQ(scanPages(folder / "b%02d.pgm", "\n", {"--pages", "2"}).exitCode, 0);
  EXPECT_EQ(scanPages(folder / "c.jpg", "q\n", {"--pages", "2"}).exitCode, 0);
  EXPECT_THAT(folder.names(), ElementsAre("a-1.png", "a-2.png", "b01.pgm", "b02.pgm", "c-1.jpg"));
  EXPECT_EQ(PngFile(folder / "a-2.png").width, 30U);
}

TEST_F(SeveralPages, HaveTheirNumberWhereverTheNameHasAPlaceForIt) {
  EXPECT_EQ(scanPages(folder / "a%d-%%.png", "").exitCode, 0);
  EXPECT_EQ(scanPages(folder / "b%02d.pdf", "q\n", {"--pages", "2", "--first-page", "7"}).exitCode, 0);
  EXPECT_EQ(scanPages(folder / "%%d.png", "\nq\n", {"--first-page", "9", "--pages"}).exitCode, 0);
  EXPECT_THAT(folder.names(), ElementsAre("%d-10.png", "%d-9.png", "a1-%.png", "b07.pdf"));
}

TEST_F(SeveralPages, FollowEachOtherOnStandardOutput) {
  const std::string one = scanPages("-", "", {}).output;
  EXPECT_EQ(scanPages("-", "\n\n", {"--pages", "3"}).output, one + one + one);
  const ProgramResult document = scanPages("-", "\n\n", {"--pages", "3", "--format", "pdf"});
  writeContent(pdf, document.output);
  EXPECT_EQ(pagesOf(pdf), "3");
}

TEST_F(SeveralPages, AreCountedInTheEnd) {
  Pipe input;
  input.send("\n");
  const ProgramResult result = scan({"-o", pdf, "-r", "75", "-a", "0x0+30x20px", "--pages", "2"},
                                    [&input] { dup2(input.reader(), STDIN_FILENO); });
  EXPECT_THAT(result.errors, EndsWith("document.pdf: 2 pages of 30 x 20 pixels, colour, 75 dots per inch\n"));
}

// The paper is removed before the second page, which therefore fails.
class FailingSecondPage : public SeveralPages {
 protected:
  ProgramResult scanTo(const std::string& output) {
    writeContent(paper, "P5\n1 1\n255\nx");
    Pipe input, out, errors;
    const pid_t process = startProgram(
        scanArguments({"-o", output, "-r", "75", "-q", "--pages", "3", "--virtual-paper", paper}),
        out.writer(), errors.writer(), [&input] { dup2(input.reader(), STDIN_FILENO); });
    out.closeWriter();
    errors.closeWriter();
    errors.readThrough(question);
    std::filesystem::remove(paper);
    input.send("\n");
    ProgramResult result;
    result.errors = readAll(errors.reader());
    result.exitCode = waitFor(process);
    return result;
  }

  std::string paper = folder / "paper.pgm";
};

TEST_F(FailingSecondPage, LeavesTheFirstOne) {
  const struct {
    const char* name;
    std::string saved;
  } cases[] = {{"a.pdf", (folder / "a.pdf") + " holds 1 complete page.\n"},
               {"b.tiff", (folder / "b.tiff") + " holds 1 complete page.\n"},
               {"c.png", "1 page was saved: " + (folder / "c-1.png") + ".\n"}};
  for (const auto& one : cases) {
    const ProgramResult result = scanTo(folder / one.name);
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.errors, testing::StartsWith("q750: Page 2: "));
    EXPECT_THAT(result.errors, EndsWith(one.saved));
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "b.tiff", "c-1.png"));
  EXPECT_EQ(pagesOf(folder / "a.pdf"), "1");
  EXPECT_FALSE(TiffFile(folder / "b.tiff").pixels.empty());
}

}  // namespace
