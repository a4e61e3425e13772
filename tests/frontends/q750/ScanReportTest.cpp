#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "CommandError.h"
#include "ScanReport.h"

namespace {

using namespace frontend;
using testing::HasSubstr;

const PictureLayout letter{2550, 3300, 3, 8, 300};
const PictureLayout drawing{100, 50, 1, 1, 600};

// The report of a scan of two pages.
std::string reportOf(ProgressStyle style, bool quiet) {
  std::string text;
  ScanReport report(
      style, quiet, 80, [&text](std::string_view piece) { text += piece; }, [] { return TimePoint(); });
  report.scannerChosen("usb:1-2");
  report.note("Mind the gap.");
  report.pageBegins(1);
  report.layoutKnown(letter);
  report.progress({1, letter.bytes()});
  report.progress({letter.bytes(), letter.bytes()});
  report.pageEnds();
  report.prompt(2, true);
  report.prompt(2, false);
  report.pageBegins(2);
  report.layoutKnown(drawing);
  report.pageEnds();
  report.saved("a.pdf", drawing, 2);
  report.saved("a.png", letter, 1);
  return text;
}

TEST(ScanReport, PrintsSentences) {
  EXPECT_EQ(
      reportOf(ProgressStyle::plain, false),
      "q750: Mind the gap.\n"
      "q750: waiting for the scanner\n"
      "q750: scanning: 100 %\n"
      "Place the next page on the scanner and press Enter (r to scan the last page again, q to save and "
      "quit): "
      "Place the next page on the scanner and press Enter (q to save and quit): "
      "q750: waiting for the scanner\n"
      "q750: a.pdf: 2 pages of 100 x 50 pixels, black and white, 600 dots per inch\n"
      "q750: a.png: 2550 x 3300 pixels, colour, 300 dots per inch\n");
}

TEST(ScanReport, IsQuietButForQuestions) {
  EXPECT_EQ(
      reportOf(ProgressStyle::none, true),
      "Place the next page on the scanner and press Enter (r to scan the last page again, q to save and "
      "quit): "
      "Place the next page on the scanner and press Enter (q to save and quit): ");
}

TEST(ScanReport, PrintsJson) {
  for (const bool quiet : {false, true}) {
    EXPECT_EQ(reportOf(ProgressStyle::json, quiet),
              R"({"event":"scanner","device":"usb:1-2"}
{"event":"note","message":"Mind the gap."}
{"event":"page","page":1}
{"event":"waiting","page":1}
{"event":"picture","page":1,"width":2550,"height":3300,"mode":"color","resolution":300}
{"event":"progress","page":1,"bytes":1,"total":25245000,"percent":0}
{"event":"progress","page":1,"bytes":25245000,"total":25245000,"percent":100}
{"event":"prompt","page":2}
{"event":"prompt","page":2}
{"event":"page","page":2}
{"event":"waiting","page":2}
{"event":"picture","page":2,"width":100,"height":50,"mode":"lineart","resolution":600}
{"event":"saved","file":"a.pdf","pages":2,"width":100,"height":50,"mode":"lineart","resolution":600}
{"event":"saved","file":"a.png","pages":1,"width":2550,"height":3300,"mode":"color","resolution":300}
)");
  }
}

TEST(ScanReport, PrintsErrorsAsJson) {
  EXPECT_EQ(errorAsJson(ExitCode::timedOut, "a\n\"b\"\x80"),
            "{\"event\":\"error\",\"status\":\"timed-out\",\"exit_code\":5,\"message\":"
            "\"a\\n\\\"b\\\"\\ufffd\"}\n");
}

TEST(ProgressStyles, DependOnTheTerminalUnlessNamed) {
  const struct {
    const char* name;
    bool terminal, quiet, verbose;
    ProgressStyle style;
  } cases[] = {
      {"auto", true, false, false, ProgressStyle::bar},  {"auto", false, false, false, ProgressStyle::plain},
      {"auto", true, false, true, ProgressStyle::plain}, {"auto", true, true, false, ProgressStyle::none},
      {"bar", false, true, true, ProgressStyle::bar},    {"plain", true, true, false, ProgressStyle::plain},
      {"none", true, false, false, ProgressStyle::none}, {"json", true, true, false, ProgressStyle::json},
      {"Bar", false, false, false, ProgressStyle::bar},
  };
  for (const auto& one : cases) {
    ScanOptions options;
    options.progress = one.name;
    options.quiet = one.quiet;
    options.verbose = one.verbose;
    EXPECT_EQ(progressStyle(options, one.terminal), one.style) << one.name;
  }
}

TEST(ProgressStyles, AreTheUsersDefaultUnlessOptionsSayOtherwise) {
  ScanOptions options;
  EXPECT_EQ(progressName(options), "auto");
  options.defaults = parseUserDefaults("progress = None", "config");
  EXPECT_EQ(progressStyle(options, true), ProgressStyle::none);
  options.verbose = true;
  EXPECT_EQ(progressStyle(options, true), ProgressStyle::plain);
  options.progress = "bar";
  EXPECT_EQ(progressStyle(options, true), ProgressStyle::bar);
}

TEST(ProgressStyles, AreRejectedIfUnknownOrContradictory) {
  ScanOptions options;
  options.progress = "dots";
  EXPECT_THROW(progressStyle(options, true), UsageError);
  options.progress = "json";
  options.verbose = true;
  EXPECT_THROW(progressStyle(options, true), UsageError);
}

}  // namespace
