#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Examination.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char workerLine[] = "ok         The worker program is installed: /usr/libexec/q750-worker\n";
constexpr char confinementLine[] =
    "ok         The worker program is confined: it has no access to the network, to other programs, or to "
    "files "
    "other than the scanner's.\n";
constexpr char ruleLine[] = "ok         The rule that grants users access to the scanner is installed.\n";

// A system without problems, which each test changes.
class ExaminingASystem : public testing::Test {
 protected:
  ExitCode examine(const std::string& device = "") {
    findings.clear();
    lines.clear();
    tried.clear();
    looks = 0;
    Examination examination({[this] { return ++looks, inventory; }, [this] { return worker; },
                             [this] { return confinement; }, [this] { return rule; },
                             [this](const std::string& name) {
                               tried.push_back(name);
                               const ScanOutcome outcome = outcomes.front();
                               if (outcomes.size() > 1) outcomes.erase(outcomes.begin());
                               return outcome;
                             },
                             [this](const Finding& finding) {
                               findings.push_back(finding);
                               lines.push_back(lineOf(finding));
                             }});
    return examination.run(device);
  }

  ScannerEntry scanner{"usb:1-2", "Quenvar", "Q750", "flatbed scanner", false, true, ""};
  ScannerEntry simulated{"virtual", "Quenvar", "Q750 (virtual)", "virtual device", true, true, ""};
  ScannerInventory inventory{{scanner, simulated}, ""};
  std::string worker = "/usr/libexec/q750-worker";
  platform::Confinement confinement{true, true, true};
  bool rule = true;
  std::vector<ScanOutcome> outcomes{outcome::good()};
  std::vector<Finding> findings;
  std::vector<std::string> lines;
  std::vector<std::string> tried;
  int looks = 0;  // at the inventory
};

TEST_F(ExaminingASystem, FindsNothingWrong) {
  EXPECT_EQ(examine(), ExitCode::good);
  EXPECT_THAT(lines, ElementsAre(workerLine, confinementLine, ruleLine,
                                 "ok         usb:1-2: a Quenvar Q750 that you may use.\n",
                                 "ok         usb:1-2: the test scan succeeded.\n"));
  EXPECT_THAT(tried, ElementsAre("usb:1-2"));
}

TEST_F(ExaminingASystem, ChecksOnlyTheNamedScanner) {
  EXPECT_EQ(examine("virtual"), ExitCode::good);
  EXPECT_THAT(tried, ElementsAre("virtual"));
  EXPECT_EQ(examine("usb"), ExitCode::good);
  EXPECT_THAT(tried, ElementsAre("usb:1-2"));
  EXPECT_EQ(examine("usb:1-9"), ExitCode::noDevice);
  EXPECT_EQ(lines.back(), "attention  There is no scanner usb:1-9. See q750 list for the available ones.\n");
}

TEST_F(ExaminingASystem, ReportsAMissingWorker) {
  worker = "";
  EXPECT_EQ(examine(), ExitCode::ioError);
  EXPECT_THAT(lines[0], StartsWith("attention  The worker program q750-worker is missing."));
  EXPECT_THAT(tried, ElementsAre());
}

TEST_F(ExaminingASystem, NotesWhatConfinementTheSystemLacks) {
  confinement = {true, true, false};
  EXPECT_EQ(examine(), ExitCode::good);
  EXPECT_THAT(lines[1], HasSubstr("does not provide file rules (Landlock). Scanning still works.\n"));
  confinement = {};
  EXPECT_EQ(examine(), ExitCode::good);
  EXPECT_THAT(lines[1], StartsWith("note       The worker program is confined only in part, or not at all"));
  EXPECT_THAT(lines[1],
              HasSubstr("filters of system calls (seccomp), file rules (Landlock) and the prohibition"));
}

TEST_F(ExaminingASystem, NotesAMissingDeviceRule) {
  rule = false;
  EXPECT_EQ(examine(), ExitCode::good);
  EXPECT_THAT(lines[2],
              StartsWith("note       The rule that grants users access to the scanner is not installed"));
  EXPECT_THAT(lines[2], HasSubstr("Install the package quenvar-q750 and"));
}

TEST_F(ExaminingASystem, TestsTheVirtualScannerIfNoneIsConnected) {
  inventory.scanners = {simulated};
  EXPECT_EQ(examine(), ExitCode::noDevice);
  EXPECT_THAT(lines[3], StartsWith("attention  No Quenvar Q750 is connected."));
  EXPECT_EQ(lines[4], "ok         virtual: the test scan succeeded.\n");
}

TEST_F(ExaminingASystem, ReportsAProblemOfTheUsb) {
  inventory = {{simulated}, "There is no USB."};
  EXPECT_EQ(examine(), ExitCode::ioError);
  EXPECT_EQ(lines[3], "attention  There is no USB.\n");
}

TEST_F(ExaminingASystem, DoesNotLookForScannersWhereItNeedsNone) {
  inventory = {{simulated}, "There is no USB."};
  EXPECT_EQ(examine("virtual"), ExitCode::good);
  EXPECT_EQ(looks, 0);
  worker = "";
  EXPECT_EQ(examine(), ExitCode::ioError);
  EXPECT_EQ(looks, 0) << "which would take a worker";
}

TEST_F(ExaminingASystem, DoesNotGuessWhatItCouldNotLookFor) {
  inventory = {{simulated}, "USB hangs.", ExitCode::timedOut};
  EXPECT_EQ(examine(), ExitCode::timedOut);
  EXPECT_EQ(lines.back(), "attention  USB hangs.\n");
  EXPECT_THAT(tried, ElementsAre());
}

TEST_F(ExaminingASystem, DoesNotScanWithoutAccess) {
  scanner.accessible = false;
  scanner.hint = "Join the group.";
  inventory.scanners = {scanner, simulated};
  EXPECT_EQ(examine(), ExitCode::accessDenied);
  EXPECT_EQ(lines.back(), "attention  usb:1-2: Join the group.\n");
  EXPECT_THAT(tried, ElementsAre());
}

TEST_F(ExaminingASystem, RetriesAfterABlockedPipe) {
  outcomes = {outcome::garbledStream(), outcome::good()};
  EXPECT_EQ(examine(), ExitCode::good);
  EXPECT_THAT(
      lines.back(),
      StartsWith("note       usb:1-2: its pipes were blocked by an earlier scan; they are cleared now"));
  EXPECT_THAT(tried, ElementsAre("usb:1-2", "usb:1-2"));
}

TEST_F(ExaminingASystem, ReportsWhyTheTestScanFailed) {
  outcomes = {outcome::silent(5000)};
  EXPECT_EQ(examine(), ExitCode::timedOut);
  EXPECT_EQ(lines.back(), "attention  usb:1-2: " + outcome::silent(5000).sentence + "\n");
  outcomes = {outcome::busy()};
  EXPECT_EQ(examine(), ExitCode::busy);
  EXPECT_THAT(tried, ElementsAre("usb:1-2"));
}

TEST_F(ExaminingASystem, ReturnsTheCodeOfTheFirstAttention) {
  worker = "";
  inventory.scanners = {};
  EXPECT_EQ(examine(), ExitCode::ioError);
}

TEST_F(ExaminingASystem, StopsForACancel) {
  ScannerEntry second = scanner;
  second.name = "usb:1-3";
  inventory.scanners = {scanner, second};
  outcomes = {outcome::cancelled()};
  EXPECT_EQ(examine(), ExitCode::cancelled);
  EXPECT_THAT(tried, ElementsAre("usb:1-2"));
}

TEST_F(ExaminingASystem, IsReportedAsJson) {
  scanner.accessible = false;
  scanner.hint = "Join the group.";
  inventory = {{scanner, simulated}, "There is no \"USB\"."};
  const ExitCode code = examine();
  EXPECT_EQ(findingsAsJson(findings, code), R"({
  "version": 1,
  "findings": [
    {
      "check": "worker",
      "level": "ok",
      "scanner": "",
      "message": "The worker program is installed: /usr/libexec/q750-worker",
      "status": "good"
    },
    {
      "check": "confinement",
      "level": "ok",
      "scanner": "",
      "message": "The worker program is confined: it has no access to the network, to other programs, or to files other than the scanner's.",
      "status": "good"
    },
    {
      "check": "rule",
      "level": "ok",
      "scanner": "",
      "message": "The rule that grants users access to the scanner is installed.",
      "status": "good"
    },
    {
      "check": "usb",
      "level": "attention",
      "scanner": "",
      "message": "There is no \"USB\".",
      "status": "io-error"
    },
    {
      "check": "access",
      "level": "attention",
      "scanner": "usb:1-2",
      "message": "usb:1-2: Join the group.",
      "status": "access-denied"
    }
  ],
  "status": "io-error",
  "exit_code": 7
}
)");
  EXPECT_EQ(findingsAsJson({}, ExitCode::good),
            "{\n  \"version\": 1,\n  \"findings\": [],\n  \"status\": \"good\",\n  \"exit_code\": 0\n}\n");
}

TEST_F(ExaminingASystem, NamesCheckAndScannerOfEachFinding) {
  inventory.scanners = {simulated};
  examine();
  ASSERT_EQ(findings.size(), 5U);
  EXPECT_EQ(findings[3].check, Finding::Check::connection);
  EXPECT_EQ(findings[3].scanner, "");
  EXPECT_EQ(findings[4].check, Finding::Check::scan);
  EXPECT_EQ(findings[4].scanner, "virtual");
  examine("usb:1-9");
  EXPECT_EQ(findings.back().check, Finding::Check::connection);
  EXPECT_EQ(findings.back().scanner, "usb:1-9");
}

}  // namespace
