#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ImageFile.h"
#include "Paper.h"
#include "ProgramFixture.h"
#include "TiffFile.h"
#include "Version.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Program : public ProgramFixture {};

std::vector<std::uint8_t> chartPixels(std::uint32_t resolution, std::uint32_t left, std::uint32_t top,
                                      std::uint32_t width, std::uint32_t height) {
  std::vector<std::uint8_t> pixels(std::size_t{width} * height * 3);
  for (std::uint32_t row = 0; row < height; ++row) {
    virtualscanner::Paper::testChart()->paintRow(resolution, top + row, left, width,
                                                 pixels.data() + std::size_t{row} * width * 3);
  }
  return pixels;
}

TEST_F(Program, ListsTheScanners) {
  const ProgramResult result = runProgram({"list"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, EndsWith("Quenvar Q750 (virtual)\n"));
}

TEST_F(Program, ShowsItsVersionAndHelp) {
  EXPECT_THAT(runProgram({"--version"}).output, StartsWith("q750 "));
  const ProgramResult help = runProgram({"scan", "--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.output, HasSubstr("--resolution"));
  EXPECT_EQ(help.errors, "");
}

TEST_F(Program, BecomesTheProgramThatShares) {
  const ProgramResult result = runProgram({"share", "--version"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, std::string("q750-share ") + frontend::version + "\n");
}

TEST_F(Program, NamesThePackageOfAProgramThatIsMissing) {
  const std::string alone = folder / "q750";
  std::filesystem::copy_file(Q750_PROGRAM, alone);
  const ProgramResult result =
      runProgram({}, [&alone] { execl(alone.c_str(), "q750", "share", "--version", nullptr); });
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_THAT(result.errors, EndsWith("Install the package quenvar-q750-share.\n"));
}

// Its own path must not be guessed if the system does not report it: anyone may have written a file in the
// current folder.
TEST_F(Program, SharesByTheProgramBesideItWithoutProcToo) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer finds the bounds of the stack in /proc";
#endif
  const std::string withoutProc =
      "unshare --user --map-root-user --mount sh -c 'mount -t tmpfs -o ro none /proc && exec \"$@\"' sh ";
  if (std::system((withoutProc + "true 2>/dev/null").c_str()) != 0) GTEST_SKIP() << "needs mounts of its own";
  writeContent(folder / "q750-share", "#!/bin/sh\necho another program\n");
  std::filesystem::permissions(std::string(folder / "q750-share"), std::filesystem::perms::owner_all);
  const std::string command = withoutProc + Q750_PROGRAM + " share --version";
  const ProgramResult result = runProgram({}, [&] {
    std::filesystem::current_path(folder.path());
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
  });
  EXPECT_EQ(result.output, std::string("q750-share ") + frontend::version + "\n") << result.errors;
}

TEST_F(Program, ScansToEveryFormat) {
  const std::vector<std::uint8_t> expected = chartPixels(150, 59, 118, 201, 99);
  for (const char* name : {"page.tiff", "page.png", "page.pnm"}) {
    const ProgramResult result = scan({"-o", folder / name, "-r", "150", "-a", "59x118+201x99px", "-q"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output + result.errors, "");
  }
  const TiffFile tiff(folder / "page.tiff");
  EXPECT_EQ(tiff.pixels, expected);
  EXPECT_THAT(tiff.tags, HasSubstr("Resolution: 150, 150 pixels/inch"));
  EXPECT_EQ(virtualscanner::readImageFile(folder / "page.png").rgb, expected);
  EXPECT_EQ(virtualscanner::readImageFile(folder / "page.pnm").rgb, expected);
  EXPECT_THAT(folder.names(), ElementsAre("page.png", "page.pnm", "page.tiff"));
}

// A PDF is written, and a document that grows is examined, by a child, whose exit status is the result.
TEST_F(Program, SavesWhatItScansWhereItsParentIgnoresChildren) {
  const auto ignoring = [] { std::signal(SIGCHLD, SIG_IGN); };
  for (const char* name : {"page.pdf", "page.tiff"}) {
    for (int pages = 1; pages <= 2; ++pages) {
      const ProgramResult result = scan({"-o", folder / name, "-r", "75", "-q", "--append"}, ignoring);
      EXPECT_EQ(result.exitCode, 0) << name << " " << pages << ": " << result.errors;
    }
  }
  EXPECT_THAT(folder.names(), ElementsAre("page.pdf", "page.tiff"));
}

TEST_F(Program, ScansTheWholeBedInGrey) {
  const ProgramResult result = scan({"-o", folder / "page.png", "-r", "75", "-m", "gray"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors, StartsWith("q750: waiting for the scanner\nq750: scanning:  "));
  EXPECT_THAT(result.errors, HasSubstr("q750: scanning: 100 %"));
  EXPECT_THAT(result.errors, EndsWith("page.png: 637 x 876 pixels, grey, 75 dots per inch\n"));
  EXPECT_EQ(virtualscanner::readImageFile(folder / "page.png").height, 876U);
}

TEST_F(Program, NotesThatColourIsScannedAtThreeHundred) {
  const ProgramResult result = scan({"-o", folder / "page.tiff", "-r", "600", "-a", "0x0+50x40px"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors,
              StartsWith("q750: The scanner's highest resolution in colour is 300 dots per inch"));
  EXPECT_THAT(TiffFile(folder / "page.tiff").tags, HasSubstr("Resolution: 300, 300 pixels/inch"));
  EXPECT_EQ(TiffFile(folder / "page.tiff").pixels, chartPixels(300, 0, 0, 50, 40));
}

TEST_F(Program, ScansThePaperOfTheUser) {
  writeContent(folder / "paper.ppm", "P6\n1 1\n255\n\x10\x80\xF0");
  const ProgramResult result = scan({"-o", folder / "page.pnm", "--virtual-paper", folder / "paper.ppm", "-r",
                                     "75", "-a", "0x0+2x1px", "-q"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(contentOf(folder / "page.pnm"), EndsWith("\n2 1\n255\n\x10\x80\xF0\x10\x80\xF0"));
}

TEST_F(Program, WritesToStandardOutput) {
  const ProgramResult result = scan({"-o", "-", "-r", "75", "-a", "0x0+3x2px"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, StartsWith("P6\n# q750 "));
  EXPECT_THAT(result.output, HasSubstr("\n3 2\n255\n"));
  EXPECT_THAT(result.errors, EndsWith("standard output: 3 x 2 pixels, colour, 75 dots per inch\n"));
  const ProgramResult png = scan({"-o", "-", "--format", "png", "-r", "75", "-a", "0x0+3x2px", "-q"});
  EXPECT_THAT(png.output, StartsWith("\x89PNG"));
}

TEST_F(Program, PrintsTheLibrarysLogOnRequest) {
  const ProgramResult result =
      scan({"-o", folder / "page.pnm", "-r", "75", "-a", "0x0+300x300px", "--verbose"});
  // The first progress line may be printed before or after it.
  EXPECT_THAT("\n" + result.errors, HasSubstr("\nlog: Buffer: <"));
  EXPECT_THAT(result.errors, HasSubstr("\nlog: width: 300 height: 300 maxValue: 255\n"));
  for (std::size_t at = 0; at < result.errors.size();) {
    const std::size_t end = result.errors.find('\n', at);
    EXPECT_LT(end - at, 120U + folder.path().string().size());
    at = end + 1;
  }
}

TEST_F(Program, ReportsErrorsInTheCommandLine) {
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string message;
  } cases[] = {
      {{}, 1, "q750: --output is required. Try q750 scan --help.\n"},
      {{"-o", folder / "page.gif"}, 1, "the extension is not that of a picture format"},
      {{"-o", folder / "page.png", "-r", "301"}, 1, "q750: --resolution 301: not supported by the scanner."},
      {{"-o", folder / "page.png", "-a", "1x1+2x2"}, 1, "q750: --area 1x1+2x2: the unit is missing."},
      {{"-o", folder / "page.png", "-a", "999x1+2x2mm"},
       1,
       "q750: The area lies outside the scan bed, which is 215.9"},
      {{"-o", folder / "page.png", "--virtual-paper", folder / "none.png"}, 1, "none.png"},
      {{"-o", folder / "page.png", "--virtual-fault", "fire"},
       1,
       "q750: --virtual-fault fire: unknown fault. Use NAME or NAME:N with one of: stall, "
       "time-out, "},
      {{"-o", folder / "none/page.png"}, 9, "does not exist. Create it or choose another.\n"},
      {{"-o", "/dev/null", "--format", "png"}, 9, "q750: /dev/null: this is not a regular file"},
  };
  for (const auto& one : cases) {
    const ProgramResult result = scan(one.arguments);
    EXPECT_EQ(result.exitCode, one.exitCode) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr(one.message));
    EXPECT_EQ(result.output, "");
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Program, LeavesTheOldPictureAloneWhenAScanFails) {
  const std::string path = folder / "page.png";
  writeContent(path, "old");
  const struct {
    const char* fault;
    int exitCode;
    const char* message;
  } cases[] = {
      {"unplug", 2, "q750: The scanner was disconnected during the scan."},
      {"silence:0", 5, "q750: The scanner accepted the job but sent no data for 30 seconds."},
      {"short-write", 5, "q750: The scanner does not respond (request \"create\")."},
      {"truncated-image:100000", 5, "q750: The scanner stopped in the middle of the picture: "},
      {"wrong-header:3", 6, "q750: The scanner's picture cannot be read"},
      {"garbage", 6, "q750: The scanner's data is garbled."},
      {"garbage-reply", 6, "q750: The scanner sent an unreadable reply"},
      {"stall:4", 7,
       "q750: A USB transfer to or from the scanner failed (status 0xE000404F, the pipe stalled)."},
      {"exception-reply", 8,
       "q750: The scanner refused the scan. Its reason: \"refused by fault injection\"."},
  };
  for (const auto& one : cases) {
    const ProgramResult result = scan({"-o", path, "-r", "75", "-q", "--virtual-fault", one.fault});
    EXPECT_EQ(result.exitCode, one.exitCode) << one.fault;
    EXPECT_THAT(result.errors, StartsWith(one.message)) << one.fault;
    EXPECT_THAT(result.errors, EndsWith("\n"));
    EXPECT_EQ(contentOf(path), "old");
  }
  EXPECT_THAT(folder.names(), ElementsAre("page.png"));
}

TEST_F(Program, ReportsAFullDiskAndLeavesNothing) {
  const ProgramResult result = scan({"-o", folder / "page.tiff", "-r", "75", "-q"}, [] {
    const rlimit limit{10000, 10000};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_THAT(result.errors, HasSubstr("cannot write the picture: File too large. Free some space"));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Program, UsesTheDefaultsOfTheUser) {
  std::filesystem::create_directory(folder / "q750");
  const auto useFolder = [this] { setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1); };
  writeContent(folder / "q750/config", "resolution = 75\nmode = gray\ndevice = virtual\nprogress = json\n");
  const ProgramResult result = runProgram({"scan", folder / "page.png", "-a", "0x0+9x9px"}, useFolder);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors, EndsWith("\"width\":9,\"height\":9,\"mode\":\"gray\",\"resolution\":75}\n"));
  EXPECT_THAT(runProgram({"scan", folder / "page.gif"}, useFolder).errors,
              StartsWith("{\"event\":\"error\""));
  writeContent(folder / "q750/config", "\nmode = sepia\n");
  const ProgramResult invalid = runProgram({"scan", folder / "other.png"}, useFolder);
  EXPECT_EQ(invalid.exitCode, 1);
  EXPECT_EQ(invalid.errors, "q750: " + (folder / "q750/config") +
                                ":2: mode = sepia: unknown mode. Choose color, gray or lineart.\n");
  EXPECT_EQ(runProgram({"list"}, useFolder).exitCode, 0);
}

TEST_F(Program, WorksWithoutStandardDescriptors) {
  const ProgramResult result = scan(
      {"-o", folder / "page.pnm", "-r", "75", "-a", "0x0+2x2px", "--virtual-fault", "garbage-reply:5"}, [] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
      });
  EXPECT_EQ(result.exitCode, 0);
  const std::string header =
      "P6\n# q750 " + std::string(frontend::version) + ", 75 dots per inch\n2 2\n255\n";
  EXPECT_THAT(contentOf(folder / "page.pnm"), StartsWith(header));
  EXPECT_EQ(contentOf(folder / "page.pnm").size(), header.size() + 12);
}

// With five, there is one, but none with the numbers that it uses for the connections to its worker.
TEST_F(Program, ReportsThatItMayNotOpenEnoughFiles) {
  for (rlim_t most = 5; most < 10; ++most) {
    const ProgramResult result = runProgram({"list"}, [most] {
      close_range(STDERR_FILENO + 1, UINT_MAX, 0);  // what this program was started with
      const rlimit limit{most, most};
      setrlimit(RLIMIT_NOFILE, &limit);
    });
    EXPECT_EQ(result.exitCode, 7);
    EXPECT_THAT(result.errors, HasSubstr("Too many open files). Close other files and programs")) << most;
  }
}

TEST_F(Program, ReportsAClosedStandardOutput) {
  EXPECT_EQ(runProgram({"list"}, [] { close(STDOUT_FILENO); }).exitCode, 9);
}

TEST_F(Program, EndsCleanlyWhenItsReaderGoesAway) {
  Pipe output;
  Pipe errors;
  const pid_t process =
      startProgram(scanArguments({"-o", "-", "-r", "75", "-q"}), output.writer(), errors.writer());
  output.closeWriter();
  errors.closeWriter();
  char first = 0;
  ASSERT_EQ(read(output.reader(), &first, 1), 1);
  output.closeReader();
  EXPECT_EQ(readAll(errors.reader()),
            "q750: standard output: cannot write the picture: Broken pipe. The picture on standard output is "
            "incomplete.\n");
  EXPECT_EQ(waitFor(process), 9);
}

TEST_F(Program, DrawsABarOnATerminal) {
  int master = -1;
  int slave = -1;
  winsize size{24, 60, 0, 0};
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, &size), 0);
  Pipe output;
  const pid_t process = startProgram(scanArguments({"-o", folder / "page.tiff", "-r", "75"}), output.writer(),
                                     slave, [] { setenv("TERM", "xterm", 1); });
  close(slave);
  const std::string shown = readAll(master);
  close(master);
  EXPECT_EQ(waitFor(process), 0);
  EXPECT_THAT(shown, StartsWith("\rwaiting for the scanner"));
  EXPECT_THAT(shown, HasSubstr("\r[##########################] 100 %"));
  EXPECT_THAT(shown, testing::Not(HasSubstr("q750: scanning")));
  EXPECT_THAT(shown, EndsWith("page.tiff: 637 x 876 pixels, colour, 75 dots per inch\r\n"));
}

TEST_F(Program, RefusesToSendAPictureToATerminal) {
  int master = -1;
  int slave = -1;
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  const pid_t process = startProgram(scanArguments({"-o", "-"}), slave, slave);
  close(slave);
  EXPECT_THAT(readAll(master), StartsWith("q750: Standard output is a terminal."));
  close(master);
  EXPECT_EQ(waitFor(process), 1);
}

TEST_F(Program, RejectsAnUnknownScanner) {
  const ProgramResult result = runProgram({"scan", "-o", folder / "page.png", "-d", "flatbed"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.errors, StartsWith("q750: --device flatbed: no such scanner. Available scanners:\n"));
}

TEST_F(Program, ScansFromNoScannerForAnEmptyName) {
  const ProgramResult result = runProgram({"scan", "-o", folder / "page.png", "--device", ""});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.errors, "q750: --device: the name is empty. See q750 list for the names.\n");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Program, GivesUpAfterTheTimeout) {
  const ProgramResult result = scan({"-o", folder / "page.png", "-r", "75", "-q", "--timeout", "0.3",
                                     "--virtual-fault", "silence:0", "--virtual-real-time"});
  EXPECT_EQ(result.exitCode, 5);
  EXPECT_THAT(result.errors, StartsWith("q750: The scanner accepted the job but sent no data for 1 second."));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Program, WaitsForAScannerThatWarmsUp) {
  const ProgramResult result = scan({"-o", folder / "page.pnm", "-r", "75", "-a", "0x0+3x2px", "-q",
                                     "--timeout", "30", "--virtual-warm-up", "300"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

TEST_F(Program, ReplacesALinkAndDoesNotFollowIt) {
  writeContent(folder / "precious", "untouched");
  std::filesystem::create_symlink(folder / "precious", folder / "page.pnm");
  EXPECT_EQ(scan({"-o", folder / "page.pnm", "-r", "75", "-a", "0x0+3x2px", "-q"}).exitCode, 0);
  EXPECT_EQ(contentOf(folder / "precious"), "untouched");
  EXPECT_FALSE(isLink(folder / "page.pnm"));
  EXPECT_THAT(contentOf(folder / "page.pnm"), StartsWith("P6"));
}

TEST_F(Program, ReportsAClosedStandardOutputForAPicture) {
  const ProgramResult result = scan({"-o", "-", "-r", "75"}, [] { close(STDOUT_FILENO); });
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_THAT(result.errors, HasSubstr("standard output: cannot write the picture: "));
}

TEST_F(Program, ReportsErrorsAsJsonToo) {
  const ProgramResult result =
      scan({"-o", folder / "page.png", "-r", "75", "--progress", "json", "--virtual-fault", "unplug"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.errors, StartsWith("{\"event\":\"scanner\",\"device\":\"virtual\"}\n"
                                        "{\"event\":\"page\",\"page\":1}\n"
                                        "{\"event\":\"waiting\",\"page\":1}\n"));
  EXPECT_THAT(result.errors,
              HasSubstr("{\"event\":\"error\",\"status\":\"no-device\",\"exit_code\":2,\"message\":"
                        "\"The scanner was disconnected"));
  const ProgramResult usage = scan({"-o", folder / "page.gif", "--progress", "JSON"});
  EXPECT_THAT(usage.errors, StartsWith("{\"event\":\"error\",\"status\":\"usage\",\"exit_code\":1,"));
}

TEST_F(Program, DiagnosesNothingWrongWithTheVirtualScanner) {
  const ProgramResult result = runProgram({"doctor", "--device", "virtual"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_THAT(result.output, StartsWith("ok         The worker program is installed: /"));
  EXPECT_THAT(result.output, EndsWith("ok         virtual: the test scan succeeded.\n"));
  EXPECT_EQ(result.errors, "");
}

TEST_F(Program, DiagnosesAFaultOfTheVirtualScanner) {
  const ProgramResult result =
      runProgram({"doctor", "--device", "virtual", "--timeout", "0.2", "--virtual-fault", "silence:0"});
  EXPECT_EQ(result.exitCode, 5);
  EXPECT_THAT(result.output,
              HasSubstr("attention  virtual: The scanner accepted the job but sent no data for "));
  EXPECT_EQ(result.errors, "q750: At least one finding needs attention, see above.\n");
}

}  // namespace
