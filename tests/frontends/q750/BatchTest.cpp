#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <functional>
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
using testing::Not;
using testing::StartsWith;

constexpr char prompt[] = "q to save and quit): ";

// Prevents files from growing beyond this length, as a full disk would.
std::function<void()> roomFor(std::size_t bytes) {
  return [bytes] {
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
}

// A user who scans several small pages and answers at the prompt.
class Batch : public ProgramFixture {
 protected:
  void start(const std::string& output, const std::vector<std::string>& more = {},
             const std::function<void()>& inChild = {}) {
    std::vector<std::string> arguments =
        scanArguments({"-o", output, "-r", "75", "-m", "gray", "-a", area, "-q", "--pages"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    process_ = startProgram(arguments, out.writer(), errors.writer(), [&] {
      dup2(input.reader(), STDIN_FILENO);
      if (inChild) inChild();
    });
    errors.closeWriter();
    out.closeWriter();
  }
  // Answers the next prompts.
  void answer(const std::vector<std::string>& answers) {
    for (const std::string& one : answers) {
      EXPECT_THAT(errors.readThrough(prompt), EndsWith(prompt));
      input.send(one + "\n");
    }
  }
  void signalAtPrompt(int signal) {
    errors.readThrough(prompt);
    kill(process_, signal);
  }
  // Expects the end, and the last message.
  void expectEnd(int exitCode, const std::string& message) {
    input.closeWriter();
    EXPECT_EQ(readAll(errors.reader()), message);
    EXPECT_EQ(waitFor(process_), exitCode);
  }
  static int pagesOf(const std::string& path) {
    if (path.ends_with(".pdf")) {
      printedBy("qpdf --check '" + path + "'");
      return std::stoi(printedBy("qpdf --show-npages '" + path + "'"));
    }
    return std::stoi(printedBy("tiffinfo '" + path + "' | grep -c '^=== TIFF directory'"));
  }
  static std::vector<std::string> tiffAndPdf() { return {"a.tiff", "a.pdf"}; }
  void usePaper(char gray) const { writeContent(paper, std::string("P5\n1 1\n255\n") + gray); }

  Pipe input, out, errors;
  std::string area = "0x0+200x100px";
  std::string paper = folder / "paper.pgm";
  pid_t process_ = 0;
};

// One batch per test object; tables restart it.
class BatchTable : public Batch {
 protected:
  void restart() {
    for (Pipe* pipe : {&input, &out, &errors}) {
      pipe->closeReader();
      pipe->closeWriter();
      ASSERT_EQ(pipe2(pipe->ends, O_CLOEXEC), 0);
    }
  }
};

TEST_F(BatchTable, IsSavedWhenASignalEndsItAtThePrompt) {
  for (const std::string& name : tiffAndPdf()) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      restart();
      start(folder / name);
      answer({""});
      signalAtPrompt(signal);
      expectEnd(130, "q750: The scan was cancelled; " + (folder / name) + " holds 2 complete pages.\n");
      EXPECT_EQ(pagesOf(folder / name), 2);
      EXPECT_THAT(folder.names(), ElementsAre(name));
      std::filesystem::remove(folder / name);
    }
  }
}

TEST_F(BatchTable, IsSavedWhenASignalEndsAPage) {
  for (const std::string name : {"a.tiff", "a.pdf", "a.png"}) {
    restart();
    // So slow that the signal arrives in the second page.
    start(folder / name, {"2", "--virtual-speed", "40000", "--progress", "json"});
    errors.readThrough("\"event\":\"prompt\",\"page\":2}\n");
    input.send("\n");
    errors.readThrough("\"page\":2,\"bytes\":");
    kill(process_, SIGTERM);
    const std::string rest = readAll(errors.reader());
    EXPECT_THAT(rest, HasSubstr("\"status\":\"cancelled\",\"exit_code\":130"));
    EXPECT_THAT(rest, HasSubstr(name == "a.png" ? "1 page was saved: " : "holds 1 complete page."));
    EXPECT_EQ(waitFor(process_), 130);
  }
  EXPECT_THAT(folder.names(), ElementsAre("a-1.png", "a.pdf", "a.tiff"));
  EXPECT_EQ(pagesOf(folder / "a.tiff"), 1);
  EXPECT_EQ(pagesOf(folder / "a.pdf"), 1);
}

TEST_F(BatchTable, IsSavedAsFarAsTheDiskHasRoom) {
  for (const std::string& name : tiffAndPdf()) {
    restart();
    start(folder / name);
    answer({"", "q"});
    expectEnd(0, "");
    const std::size_t two = contentOf(folder / name).size();
    std::filesystem::remove(folder / name);
    restart();
    start(folder / name, {}, roomFor(two + 200));
    if (name == "a.pdf") answer({"", "", "q"});
    if (name == "a.tiff") answer({"", ""});
    const std::string pages =
        name == "a.pdf" ? " holds the first 2 of 3 complete pages.\n" : " holds 2 complete pages.\n";
    expectEnd(
        9, "q750: " + (folder / name) +
               ": cannot write the picture: File too large. Free some space or choose another folder, then "
               "scan again. " +
               (folder / name) + pages);
    EXPECT_EQ(pagesOf(folder / name), 2);
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "a.tiff"));
}

TEST_F(Batch, LeavesNothingWhereNotEvenOnePageFits) {
  start(folder / "a.pdf", {}, roomFor(500));
  answer({"q"});
  expectEnd(9,
            "q750: " + (folder / "a.pdf") +
                ": cannot write the picture: File too large. Free some space or choose another folder, then "
                "scan again. Nothing was saved.\n");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Batch, CountsTheFilesBeforeTheOneThatDoesNotFit) {
  usePaper('x');  // compresses well
  start(folder / "c.png", {"--virtual-paper", paper}, roomFor(1500));
  answer({""});
  errors.readThrough(prompt);
  std::string noise = "P5\n200 100\n255\n";
  for (unsigned i = 0; i < 20000; ++i) noise += static_cast<char>(i * i % 251 ^ i >> 3);
  writeContent(paper, noise);
  input.send("\n");
  expectEnd(9,
            "q750: " + (folder / "c-3.png") +
                ": cannot write the picture: File too large. Free some space or choose another folder, then "
                "scan again. 2 pages were saved: " +
                (folder / "c-1.png") + " to " + (folder / "c-2.png") + ".\n");
  EXPECT_THAT(folder.names(), ElementsAre("c-1.png", "c-2.png", "paper.pgm"));
}

TEST_F(BatchTable, StaysUnderAnotherNameWhereItsOwnCannotBeTaken) {
  for (const std::string& name : tiffAndPdf()) {
    restart();
    start(folder / name);
    answer({""});
    errors.readThrough(prompt);
    std::filesystem::create_directory(folder / name);
    input.send("q\n");
    const std::string message = readAll(errors.reader());
    EXPECT_THAT(message,
                StartsWith("q750: " + (folder / name) + ": Is a directory. 2 complete pages were saved as " +
                           (folder / "q750-saved-")));
    EXPECT_EQ(waitFor(process_), 9);
    const std::string kept = message.substr(message.find(folder / "q750-saved-"));
    EXPECT_EQ(pagesOf(kept.substr(0, kept.size() - 2)), 2);
  }
  EXPECT_EQ(folder.names().size(), 4U);
}

TEST_F(Batch, EndsAtOnceForASecondSignalWhileItIsSaved) {
  // The document is larger than the pipe and is not read.
  area = "0x0+600x800px";
  start("-", {"--format", "pdf", "--quality", "lossless"}, [] { fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 4096); });
  signalAtPrompt(SIGINT);
  char first = 0;
  ASSERT_EQ(read(out.reader(), &first, 1), 1);  // it is being saved
  kill(process_, SIGINT);
  expectEnd(130, "q750: The scan was cancelled; the picture on standard output is incomplete.\n");
}

TEST_F(Batch, LeavesNothingBehindWhenItIsKilled) {
  start(folder / "a.tiff");
  signalAtPrompt(SIGKILL);
  EXPECT_EQ(waitFor(process_), 128 + SIGKILL);
  EXPECT_FALSE(std::filesystem::exists(folder / "a.tiff"));
  EXPECT_EQ(scan({"-o", folder / "b.png", "-r", "75", "-a", "0x0+9x9px", "-q"}).exitCode, 0);
  EXPECT_THAT(folder.names(), ElementsAre("b.png"));
}

// The gray of a page in a TIFF.
int grayOf(const std::string& path, std::uint16_t page) {
  return TiffFile(path, page).pixels.at(0);
}

TEST_F(Batch, ReplacesTheLastPageOfADocument) {
  usePaper('1');
  start(folder / "a.tiff", {"--virtual-paper", paper});
  answer({""});
  errors.readThrough(prompt);
  usePaper('2');
  input.send("r\n");
  errors.readThrough(prompt);
  usePaper('3');
  input.send("\n");
  answer({"q"});
  expectEnd(0, "");
  ASSERT_EQ(pagesOf(folder / "a.tiff"), 3);
  EXPECT_EQ(grayOf(folder / "a.tiff", 0), '1');
  EXPECT_EQ(grayOf(folder / "a.tiff", 1), '2');
  EXPECT_EQ(grayOf(folder / "a.tiff", 2), '3');
}

TEST_F(Batch, ReplacesTheFileOfTheLastPage) {
  usePaper('1');
  start(folder / "a.pgm", {"--virtual-paper", paper, "--no-clobber"});
  answer({""});
  errors.readThrough(prompt);
  usePaper('2');
  input.send("r\n");
  answer({"q"});
  expectEnd(0, "");
  EXPECT_THAT(contentOf(folder / "a-1.pgm"), EndsWith("1"));
  EXPECT_THAT(contentOf(folder / "a-2.pgm"), EndsWith("2"));
  EXPECT_THAT(folder.names(), ElementsAre("a-1.pgm", "a-2.pgm", "paper.pgm"));
}

TEST_F(BatchTable, KeepsTheLastPageWhereItCannotBeScannedAgain) {
  for (const std::string& name : tiffAndPdf()) {
    restart();
    usePaper('1');
    start(folder / name, {"--virtual-paper", paper});
    answer({""});
    errors.readThrough(prompt);
    std::filesystem::remove(paper);
    input.send("r\n");
    EXPECT_THAT(readAll(errors.reader()), EndsWith(" " + (folder / name) + " holds 2 complete pages.\n"));
    EXPECT_NE(waitFor(process_), 0);
    EXPECT_EQ(pagesOf(folder / name), 2);
  }
}

TEST_F(BatchTable, KeepsTheLastPageWhenASignalEndsItsReplacement) {
  for (const std::string& name : tiffAndPdf()) {
    restart();
    start(folder / name, {"--virtual-speed", "40000", "--progress", "json"});
    errors.readThrough("\"event\":\"prompt\",\"page\":2}\n");
    input.send("r\n");
    errors.readThrough("\"bytes\":");
    kill(process_, SIGINT);
    EXPECT_THAT(readAll(errors.reader()), HasSubstr("holds 1 complete page."));
    EXPECT_EQ(waitFor(process_), 130);
    EXPECT_EQ(pagesOf(folder / name), 1);
  }
}

TEST_F(Batch, CannotReplaceAPageOnStandardOutput) {
  start("-", {"--progress", "plain"});
  errors.readThrough("press Enter (q to save and quit): ");
  input.send("r\nq\n");
  EXPECT_THAT(readAll(errors.reader()), EndsWith("press Enter (q to save and quit): "));
  EXPECT_EQ(waitFor(process_), 0);
}

TEST_F(Batch, NamesTheFilesThatItReplaces) {
  writeContent(folder / "s-2.png", "old");
  input.send("\n");
  const ProgramResult result = scan({"-o", folder / "s.png", "-r", "75", "-a", "0x0+9x9px", "--pages", "2"},
                                    [this] { dup2(input.reader(), STDIN_FILENO); });
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors,
              HasSubstr("q750: " + (folder / "s-2.png") +
                        " exists and will be replaced. Use --no-clobber to prevent that.\nPlace"));
  EXPECT_THAT(result.errors, Not(HasSubstr("s-1.png exists")));
}

TEST_F(Batch, RefusesToReplaceFilesOnRequest) {
  writeContent(folder / "s-3.png", "old");
  start(folder / "s.png", {"--no-clobber"});
  answer({""});
  expectEnd(
      9, "q750: " + (folder / "s-3.png") +
             ": the file exists. Choose another name, or leave out --no-clobber to replace it. 2 pages were "
             "saved: " +
             (folder / "s-1.png") + " to " + (folder / "s-2.png") + ".\n");
  EXPECT_EQ(contentOf(folder / "s-3.png"), "old");
}

TEST_F(Batch, RefusesTheFirstFileBeforeItScans) {
  writeContent(folder / "a.pdf", "old");
  start(folder / "a.pdf", {"--no-clobber", "--progress", "json"});
  expectEnd(9, "{\"event\":\"error\",\"status\":\"output\",\"exit_code\":9,\"message\":\"" +
                   (folder / "a.pdf") +
                   ": the file exists. Choose another name, or leave out --no-clobber to replace it.\"}\n");
  EXPECT_EQ(contentOf(folder / "a.pdf"), "old");
}

TEST_F(Batch, DoesNotReplaceAFileThatAppearsMeanwhile) {
  start(folder / "a.pdf", {"--no-clobber"});
  errors.readThrough(prompt);
  writeContent(folder / "a.pdf", "of another program");
  input.send("q\n");
  EXPECT_THAT(readAll(errors.reader()),
              StartsWith("q750: " + (folder / "a.pdf") +
                         ": a file with this name already exists. 1 complete page was saved "
                         "as " +
                         (folder / "q750-saved-")));
  EXPECT_EQ(waitFor(process_), 9);
  EXPECT_EQ(contentOf(folder / "a.pdf"), "of another program");
}

}  // namespace
