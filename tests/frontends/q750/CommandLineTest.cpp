#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "CommandError.h"
#include "CommandLine.h"
#include "Golden.h"
#include "Version.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::HasSubstr;

CommandLine parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "q750");
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
}

CommandLine parseWords(const std::string& text) {
  std::istringstream stream(text);
  const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  return parse(arguments);
}

std::string complaintAbout(const std::vector<const char*>& arguments) {
  try {
    parse(arguments);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(CommandLine, TakesAllOptionsOfAScan) {
  const CommandLine line = parseWords(
      "scan --device virtual -o page.png --format png --quality lossless --mode lineart --area 1x1+2x2mm "
      "--resolution 150 --threshold 40% --brightness -20 --contrast 15 --gamma 1.8 --paper a4 --rotate 90 "
      "--pages 7 --first-page 12 --append --no-clobber --progress json --timeout 2.5 --quiet --verbose");
  EXPECT_EQ(line.command, CommandLine::Command::scan);
  EXPECT_EQ(line.scan.device, "virtual");
  EXPECT_EQ(line.scan.output, "page.png");
  EXPECT_EQ(line.scan.format, "png");
  EXPECT_EQ(line.scan.quality, "lossless");
  EXPECT_EQ(line.scan.resolution, "150");
  EXPECT_EQ(line.scan.mode, "lineart");
  EXPECT_EQ(line.scan.threshold, "40%");
  EXPECT_EQ(line.scan.brightness, "-20");
  EXPECT_EQ(line.scan.contrast, "15");
  EXPECT_EQ(line.scan.gamma, "1.8");
  EXPECT_EQ(line.scan.area, "1x1+2x2mm");
  EXPECT_EQ(line.scan.paper, "a4");
  EXPECT_EQ(line.scan.rotation, "90");
  EXPECT_EQ(line.scan.pages, "7");
  EXPECT_EQ(line.scan.firstPage, 12U);
  EXPECT_TRUE(line.scan.append);
  EXPECT_TRUE(line.scan.noClobber);
  EXPECT_EQ(line.scan.progress, "json");
  EXPECT_EQ(line.scan.timeout, "2.5");
  EXPECT_TRUE(line.scan.quiet);
  EXPECT_TRUE(line.scan.verbose);
}

TEST(CommandLine, TakesPagesWithoutTheirNumber) {
  for (const std::vector<const char*>& arguments :
       std::vector<std::vector<const char*>>{{"scan", "--pages", "-o", "a.png"},
                                             {"scan", "-o", "a.png", "--pages"},
                                             {"scan", "-oa.png", "--pages="}}) {
    EXPECT_EQ(parse(arguments).scan.pages, "");
    EXPECT_EQ(parse(arguments).scan.output, "a.png");
  }
  EXPECT_EQ(parse({"scan", "-o", "a.png"}).scan.pages, "1");
}

const std::vector<const char*> virtualArguments = {
    "--virtual-paper", "paper.pnm", "--virtual-fault",       "stall:7",
    "--virtual-fault", "unplug",    "--virtual-packet-size", "100"};

void expectVirtualOptions(const VirtualScannerOptions& options) {
  EXPECT_EQ(options.paper, "paper.pnm");
  EXPECT_THAT(options.faults, ElementsAre("stall:7", "unplug"));
  EXPECT_EQ(options.packetSize, 100U);
}

TEST(CommandLine, TakesTheOptionsOfTheVirtualScannerForEachCommandThatUsesIt) {
  std::vector<const char*> arguments{
      "scan", "-o", "a.png", "--virtual-warm-up", "250", "--virtual-speed", "4000000", "--virtual-real-time"};
  arguments.insert(arguments.end(), virtualArguments.begin(), virtualArguments.end());
  const VirtualScannerOptions scan = parse(arguments).scan.virtualScanner;
  expectVirtualOptions(scan);
  EXPECT_EQ(scan.warmUpMs, 250U);
  EXPECT_EQ(scan.bytesPerSecond, 4000000U);
  EXPECT_TRUE(scan.realTime);
  for (const char* command : {"virtual", "doctor"}) {
    arguments = virtualArguments;
    arguments.insert(arguments.begin(), command);
    const CommandLine line = parse(arguments);
    expectVirtualOptions(command[0] == 'v' ? line.serve.virtualScanner : line.doctor.virtualScanner);
  }
}

TEST(CommandLine, TakesShortOptions) {
  const CommandLine line = parse(
      {"scan", "-o-", "-d", "virtual", "-r", "75", "-m", "gray", "-a", "0x0+1x1in", "-p", "a5", "-q", "-v"});
  EXPECT_EQ(line.scan.output, "-");
  EXPECT_EQ(line.scan.resolution, "75");
  EXPECT_EQ(line.scan.area, "0x0+1x1in");
  EXPECT_EQ(line.scan.paper, "a5");
  EXPECT_TRUE(line.scan.quiet);
}

TEST(CommandLine, DistinguishesAnEmptyNameOfAScannerFromNone) {
  EXPECT_EQ(parse({"scan", "-o", "a.png"}).scan.device, std::nullopt);
  EXPECT_EQ(parse({"scan", "-o", "a.png", "-d", ""}).scan.device, "");
  EXPECT_EQ(parse({"doctor", "--device", ""}).doctor.device, "");
}

TEST(CommandLine, TakesTheFileWithoutItsOption) {
  EXPECT_EQ(parse({"scan", "a.png"}).scan.output, "a.png");
  EXPECT_EQ(parse({"scan", "-m", "gray", "a.png", "-q"}).scan.output, "a.png");
  EXPECT_EQ(parse({"scan", "--virtual-fault", "stall", "a.png"}).scan.output, "a.png");
  EXPECT_EQ(parse({"scan", "-"}).scan.output, "-");
  EXPECT_EQ(parse({"scan", "--", "-a.png"}).scan.output, "-a.png");
}

TEST(CommandLine, TakesOneValueForEachFault) {
  EXPECT_THAT(complaintAbout({"scan", "-o", "a.png", "--virtual-fault", "stall", "unplug"}),
              HasSubstr("unplug"));
}

TEST(CommandLine, TakesList) {
  EXPECT_EQ(parse({"list"}).command, CommandLine::Command::list);
}

TEST(CommandLine, TakesListAsJson) {
  EXPECT_FALSE(parse({"list"}).list.json);
  EXPECT_TRUE(parse({"list", "--json"}).list.json);
}

TEST(CommandLine, TakesTheServer) {
  const CommandLine line = parse({"virtual", "--listen", "[::1]:0"});
  EXPECT_EQ(line.command, CommandLine::Command::serve);
  EXPECT_EQ(line.serve.listen, "[::1]:0");
}

TEST(CommandLine, TakesDoctor) {
  const CommandLine line = parse({"doctor", "--device", "usb", "--timeout", "1"});
  EXPECT_EQ(line.command, CommandLine::Command::doctor);
  EXPECT_EQ(line.doctor.device, "usb");
  EXPECT_EQ(line.doctor.timeout, "1");
  EXPECT_FALSE(line.doctor.json);
  EXPECT_TRUE(parse({"doctor", "--json"}).doctor.json);
}

TEST(CommandLine, ListensOnTheLoopbackInterfaceByDefault) {
  EXPECT_EQ(parse({"virtual"}).serve.listen, "127.0.0.1:3240");
}

TEST(CommandLine, ShowsTheVersion) {
  EXPECT_EQ(parse({"--version"}).text, std::string("q750 ") + version + "\n");
  EXPECT_EQ(parse({"--version"}).command, CommandLine::Command::print);
}

TEST(CommandLine, LeavesTheOptionsOfShareToItsProgram) {
  const CommandLine line = parse({"share", "--port", "0", "--help", "what ever"});
  EXPECT_EQ(line.command, CommandLine::Command::share);
  EXPECT_EQ(line.share, (std::vector<std::string>{"--port", "0", "--help", "what ever"}));
}

TEST(CommandLine, ShowsHelp) {
  expectGolden("help.txt", parse({"--help"}).text);
  EXPECT_EQ(parse({"-h"}).text, parse({"--help"}).text);
}

TEST(CommandLine, ShowsHelpForEachCommand) {
  expectGolden("help-scan.txt", parse({"scan", "--help"}).text);
  expectGolden("help-list.txt", parse({"list", "--help"}).text);
  expectGolden("help-doctor.txt", parse({"doctor", "--help"}).text);
  expectGolden("help-virtual.txt", parse({"virtual", "--help"}).text);
}

CommandLine parseWithDefaults(std::vector<const char*> arguments, const std::string& defaults) {
  arguments.insert(arguments.begin(), "q750");
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data(),
                          [&] { return parseUserDefaults(defaults, "/home/me/config"); });
}

TEST(CommandLine, TakesTheUsersDefaultsUnlessOptionsSayOtherwise) {
  const std::string defaults = "resolution = 150\nmode = gray\ntimeout = 7\nrotate = 180\n";
  const ScanOptions scan = parseWithDefaults({"scan", "a.png", "-m", "color"}, defaults).scan;
  EXPECT_EQ(scan.resolution, "150");
  EXPECT_EQ(scan.mode, "color");
  EXPECT_EQ(scan.timeout, "7");
  EXPECT_EQ(scan.rotation, "180");
  EXPECT_EQ(parseWithDefaults({"doctor"}, defaults).doctor.timeout, "5");
}

TEST(CommandLine, ReadsTheUsersDefaultsForAScanOnly) {
  EXPECT_NO_THROW(parseWithDefaults({"list"}, "invalid"));
  EXPECT_NO_THROW(parseWithDefaults({"--help"}, "invalid"));
  EXPECT_THROW(parseWithDefaults({"scan", "a.png"}, "invalid"), UsageError);
}

TEST(CommandLine, ShowsTheDefaultsInForce) {
  const std::string help =
      parseWithDefaults({"scan", "--help"}, "resolution = 150\ngamma = 2.2\npaper = a5\n").text;
  EXPECT_THAT(help, HasSubstr("colour at most 300 (default: 150)\n"));
  EXPECT_THAT(help, HasSubstr("0.10 to 5.00 (default: 2.2)\n"));
  EXPECT_THAT(
      help,
      HasSubstr("\nDefaults from /home/me/config:\n  resolution = 150\n  gamma = 2.2\n  paper = a5\n\n"));
  EXPECT_THAT(help, HasSubstr("The part of the bed to scan, see below (default: that of the paper)\n"));
  EXPECT_THAT(help, HasSubstr("in the top left corner instead of an area, see below (default: a5)\n"));
}

TEST(CommandLine, ReportsErrorsAndWhereTheHelpIs) {
  const struct {
    std::vector<const char*> arguments;
    const char* complaint;
  } cases[] = {
      {{}, "A subcommand is required. Try q750 --help."},
      {{"print"}, "print: unknown command. Choose list, scan, doctor, virtual or share. Try q750 --help."},
      {{"scna", "-o", "a.png"}, "scna: unknown command. Did you mean scan? Try q750 --help."},
      {{"--scan"}, "A subcommand is required. Try q750 --help."},
      {{"scan"}, "--output is required. Try q750 scan --help."},
      {{"scan", "-o"}, "Try q750 scan --help."},
      {{"scan", "-o", "a.png", "--loud"},
       "The following argument was not expected: --loud. Try q750 scan --help."},
      {{"scan", "a.png", "extra"}, "The following argument was not expected: extra. Try q750 scan --help."},
      {{"scan", "-o", "a.png", "-o", "b.png"}, "--output is given twice. Try q750 scan --help."},
      {{"scan", "-o", "a.png", "b.png"}, "The following argument was not expected: b.png."},
      {{"scan", "b.png", "--output=a.png"}, "--output is given twice. Try q750 scan --help."},
      {{"scan", "a.png", "-m", "gray", "-m", "gray"}, "--mode is given twice. Try q750 scan --help."},
      {{"scan", "-o", "a.png", "--virtual-packet-size", "0"},
       "--virtual-packet-size: Value 0 not in range 1 to 268435456."},
      {{"scan", "-o", "a.png", "--virtual-packet-size", "many"}, "Try q750 scan --help."},
      {{"scan", "-o", "a.png", "--first-page", "1000000"},
       "--first-page: Value 1000000 not in range 0 to 999999."},
      {{"scan", "-o", "a.png", "--virtual-warm-up", "-1"}, "Try q750 scan --help."},
      {{"virtual", "--listen"}, "Try q750 virtual --help."},
      {{"virtual", "3240"}, "The following argument was not expected: 3240. Try q750 virtual --help."},
      {{"list", "all"}, "The following argument was not expected: all. Try q750 list --help."},
  };
  for (const auto& one : cases) EXPECT_THAT(complaintAbout(one.arguments), HasSubstr(one.complaint));
}

TEST(ExitCode, IsAnotherOneForEachStatus) {
  EXPECT_EQ(exitCodeFor(ScanStatus::good), ExitCode::good);
  EXPECT_EQ(exitCodeFor(ScanStatus::noDevice), ExitCode::noDevice);
  EXPECT_EQ(exitCodeFor(ScanStatus::busy), ExitCode::busy);
  EXPECT_EQ(exitCodeFor(ScanStatus::accessDenied), ExitCode::accessDenied);
  EXPECT_EQ(exitCodeFor(ScanStatus::timedOut), ExitCode::timedOut);
  EXPECT_EQ(exitCodeFor(ScanStatus::badData), ExitCode::badData);
  EXPECT_EQ(exitCodeFor(ScanStatus::ioError), ExitCode::ioError);
  EXPECT_EQ(exitCodeFor(ScanStatus::refused), ExitCode::refused);
  EXPECT_EQ(exitCodeFor(ScanStatus::noMemory), ExitCode::noMemory);
  EXPECT_EQ(exitCodeFor(ScanStatus::cancelled), ExitCode::cancelled);
}

}  // namespace
