#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
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
using testing::StartsWith;

class Append : public ProgramFixture {
 protected:
  // Scans a page of one gray.
  ProgramResult append(const std::string& path, char gray, const std::vector<std::string>& more = {},
                       const std::function<void()>& inChild = {}) {
    writeContent(paper, std::string("P5\n1 1\n255\n") + gray);
    std::vector<std::string> arguments{"-o",   path,      "-r",          "75", "-m",
                                       "gray", "-a",      "0x0+30x20px", "-q", "--virtual-paper",
                                       paper,  "--append"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return scan(arguments, inChild);
  }
  void appendWell(const std::string& path, char gray) {
    const ProgramResult result = append(path, gray);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.exitCode, 0);
  }
  // The grays of the pages of a document.
  static std::string graysOf(const std::string& path) {
    if (path.ends_with(".pdf")) return graysOfPdf(path);
    std::string grays;
    const int pages = std::stoi(printedBy("tiffinfo '" + path + "' | grep -c '^=== TIFF directory'"));
    for (int page = 0; page < pages; ++page)
      grays += static_cast<char>(TiffFile(path, static_cast<std::uint16_t>(page)).pixels.at(0));
    return grays;
  }
  static std::string graysOfPdf(const std::string& path) {
    EXPECT_THAT(printedBy("qpdf --check '" + path + "'"), HasSubstr("No syntax or stream encoding errors"));
    const TemporaryFolder pictures;
    printedBy("pdfimages -j '" + path + "' '" + (pictures / "p") + "'");
    std::string grays;
    for (const std::string& name : pictures.names())
      grays += static_cast<char>(JpegFile(pictures / name).pixels.at(0));
    return grays;
  }

  TemporaryFolder papers;
  std::string paper = papers / "paper.pgm";
};

TEST_F(Append, AddsPagesToADocument) {
  for (const std::string name : {"a.tiff", "a.pdf"}) {
    for (const char gray : {'1', '2', '3'}) appendWell(folder / name, gray);
    EXPECT_EQ(graysOf(folder / name), "123");
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "a.tiff"));
  EXPECT_THAT(TiffFile(folder / "a.tiff", 2).tags, HasSubstr("Page Number: 2-0"));
}

TEST_F(Append, AddsPagesToATiffOfAnyProgram) {
  const std::string path = folder / "a.tiff";
  for (const char* kind : {"-B", "-L", "-8 -B", "-8 -L"}) {  // byte order, BigTIFF
    std::filesystem::remove(path);
    appendWell(folder / "own.tiff", '1');
    printedBy("tiffcp " + std::string(kind) + " '" + (folder / "own.tiff") + "' '" + path + "'");
    const std::string pagesBefore = graysOf(path);
    appendWell(path, '2');
    EXPECT_EQ(graysOf(path), pagesBefore + "2") << kind;
  }
}

TEST_F(Append, AddsPagesToAPdfOfAnyProgram) {
  const std::string path = folder / "a.pdf";
  for (const char* kind : {"--object-streams=generate", "--linearize", "--qdf", "--min-version=1.7"}) {
    std::filesystem::remove(folder / "own.pdf");
    appendWell(folder / "own.pdf", '1');
    printedBy("qpdf " + std::string(kind) + " '" + (folder / "own.pdf") + "' '" + path + "'");
    appendWell(path, '2');
    EXPECT_EQ(graysOf(path), "12") << kind;
  }
  EXPECT_THAT(printedBy("pdfinfo '" + path + "'"), HasSubstr("PDF version:     1.7\n"));
  EXPECT_THAT(printedBy("pdfinfo '" + path + "'"), HasSubstr("Title:           own\n"));
}

TEST_F(Append, KeepsPermissionsAndCountsAllPages) {
  const std::string path = folder / "a.pdf";
  appendWell(path, '1');
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  const ProgramResult result = append(path, '2', {"--progress", "json"});
  EXPECT_EQ(modeOf(path), 0640U);
  EXPECT_THAT(result.errors, HasSubstr("{\"event\":\"saved\",\"file\":\"" + path + "\",\"pages\":2,"));
  EXPECT_THAT(result.errors, testing::Not(HasSubstr("will be replaced")));
}

TEST_F(Append, LeavesTheDocumentAloneWhenTheScanFails) {
  for (const std::string name : {"a.tiff", "a.pdf"}) {
    appendWell(folder / name, '1');
    const std::string before = contentOf(folder / name);
    const auto written = std::filesystem::last_write_time(folder / name);
    EXPECT_EQ(append(folder / name, '2', {"--virtual-fault", "garbage:100"}).exitCode, 6);
    EXPECT_EQ(append(folder / name, '2', {"--virtual-fault", "unplug:5"}).exitCode, 2);
    EXPECT_TRUE(contentOf(folder / name) == before);
    EXPECT_EQ(std::filesystem::last_write_time(folder / name), written);
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "a.tiff"));
}

TEST_F(Append, LeavesTheDocumentAloneOnAFullDisk) {
  for (const std::string name : {"a.tiff", "a.pdf"}) {
    appendWell(folder / name, '1');
    const std::string before = contentOf(folder / name);
    const ProgramResult result = append(folder / name, '2', {}, [&before] {
      const rlimit limit{before.size() + 20, before.size() + 20};
      setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(result.exitCode, 9);
    EXPECT_THAT(result.errors, HasSubstr("File too large"));
    EXPECT_TRUE(contentOf(folder / name) == before);
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "a.tiff"));
}

TEST_F(Append, RefusesADocumentBeforeItScans) {
  writeContent(folder / "a.pdf", "not a PDF");
  const ProgramResult result = append(folder / "a.pdf", '1', {"--progress", "json"});
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_EQ(result.errors,
            "{\"event\":\"error\",\"status\":\"output\",\"exit_code\":9,\"message\":\"" + (folder / "a.pdf") +
                ": cannot append to this file: it is not a PDF file. Scan to a new file.\"}\n");
  EXPECT_EQ(contentOf(folder / "a.pdf"), "not a PDF");
}

// A user at the prompt after the first page that is appended.
class AppendAtPrompt : public Append {
 protected:
  void start(const std::string& path) {
    process = startProgram(scanArguments({"-o", path, "-r", "75", "-m", "gray", "-a", "0x0+30x20px", "-q",
                                          "--virtual-paper", paper, "--append", "--pages"}),
                           out.writer(), errors.writer(), [this] { dup2(input.reader(), STDIN_FILENO); });
    errors.closeWriter();
    errors.readThrough("quit): ");
  }
  Pipe input, out, errors;
  pid_t process = 0;
};

TEST_F(AppendAtPrompt, SavesWhatWasScannedAfterASignal) {
  appendWell(folder / "a.tiff", '1');
  start(folder / "a.tiff");
  kill(process, SIGTERM);
  EXPECT_EQ(readAll(errors.reader()),
            "q750: The scan was cancelled; 1 complete page was added to " + (folder / "a.tiff") + ".\n");
  EXPECT_EQ(waitFor(process), 130);
  EXPECT_EQ(graysOf(folder / "a.tiff"), "11");
}

TEST_F(AppendAtPrompt, ReplacesTheFirstPageThatIsAppended) {
  appendWell(folder / "a.tiff", '1');
  start(folder / "a.tiff");
  writeContent(paper, "P5\n1 1\n255\n2");
  input.send("r\nq\n");
  EXPECT_THAT(readAll(errors.reader()), EndsWith("quit): "));
  EXPECT_EQ(waitFor(process), 0);
  EXPECT_EQ(graysOf(folder / "a.tiff"), "12");
}

TEST_F(AppendAtPrompt, DoesNotReplaceADocumentThatChangesMeanwhile) {
  appendWell(folder / "a.pdf", '1');
  start(folder / "a.pdf");
  std::filesystem::remove(folder / "a.pdf");
  writeContent(folder / "a.pdf", "of another program");
  input.send("q\n");
  EXPECT_THAT(readAll(errors.reader()),
              StartsWith("q750: " + (folder / "a.pdf") +
                         ": another program changed the file during the scan. 1 complete page was saved as " +
                         (folder / "q750-saved-")));
  EXPECT_EQ(waitFor(process), 9);
  EXPECT_EQ(contentOf(folder / "a.pdf"), "of another program");
  EXPECT_EQ(graysOf(folder / folder.names().at(1)), "11");
}

}  // namespace
