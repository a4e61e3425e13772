#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ShareExamination.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::StartsWith;

// A machine that shares its scanner, which each test changes.
class ExaminingASharedScanner : public testing::Test {
 protected:
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (const Finding& finding : examineSharing(facts)) lines.push_back(lineOf(finding));
    return lines;
  }

  ShareFacts facts{"/usr/bin/q750-share", {}, SharePort::shared, true, true, {"192.168.1.5", "fd00::5"}};
};

TEST_F(ExaminingASharedScanner, FindsNothingWrong) {
  EXPECT_THAT(lines(),
              ElementsAre("ok         The network server is installed: /usr/bin/q750-share\n",
                          "ok         The scanner is shared at port 8750.\n",
                          "ok         Avahi is running: programs find a shared scanner automatically.\n",
                          "ok         This machine's addresses in the network: 192.168.1.5, fd00::5.\n"));
}

TEST_F(ExaminingASharedScanner, FindsNothingElseWhereTheServerIsNotInstalled) {
  facts = {};
  EXPECT_THAT(lines(), ElementsAre("ok         The scanner is not shared with the network: the package "
                                   "quenvar-q750-share is not installed.\n"));
}

TEST_F(ExaminingASharedScanner, ShowsHowToShareIt) {
  facts.port = SharePort::unused;
  EXPECT_EQ(
      lines()[1],
      "ok         The scanner is not shared at the moment; port 8750 is free. To share it: systemctl enable "
      "--now q750-share.service.\n");
}

TEST_F(ExaminingASharedScanner, NotesWhatKeepsClientsAway) {
  facts.settings = {9000, "/etc/ssl/none.pem", {}};
  facts.port = SharePort::taken;
  facts.avahi = facts.certificateThere = false;
  facts.addresses.clear();
  EXPECT_THAT(
      lines(),
      ElementsAre(StartsWith("ok         The network server"),
                  StartsWith("note       Another program uses port 9000, so the scanner cannot be shared"),
                  StartsWith("note       Avahi is not running: programs do not find"),
                  StartsWith("note       This machine has no network address"),
                  StartsWith("note       There is no certificate /etc/ssl/none.pem, which share.conf")));
}

TEST_F(ExaminingASharedScanner, TakesWhatUsesThePortOfAnEncryptedServerForThat) {
  facts.settings.certificate = "/etc/ssl/our.pem";
  facts.port = SharePort::taken;
  EXPECT_EQ(lines()[1],
            "ok         A server uses port 8750. Whether it shares the scanner is not examined, because its "
            "connections are encrypted.\n");
}

TEST_F(ExaminingASharedScanner, IsNeverAReasonNotToScanHere) {
  facts = {"/usr/bin/q750-share", {9000, "x", {}}, SharePort::taken, false, false, {}};
  for (const Finding& finding : examineSharing(facts))
    EXPECT_EQ(finding.code, ExitCode::good) << finding.text;
}

TEST_F(ExaminingASharedScanner, NamesItsChecks) {
  facts.certificateThere = false;
  const std::string json = findingsAsJson(examineSharing(facts), ExitCode::good);
  for (const char* name : {"share", "port", "avahi", "addresses", "certificate"})
    EXPECT_THAT(json, testing::HasSubstr("\"check\": \"" + std::string(name) + "\""));
}

TEST(ShareSettingsOfTheDoctor, AreThePortAndTheCertificate) {
  EXPECT_EQ(ShareSettings::parse(""), ShareSettings{});
  EXPECT_EQ(
      ShareSettings::parse("# port = 1\n\tport = 9000 \r\ncertificate=/etc/my server.pem\nname = port = 3\n"),
      (ShareSettings{9000, "/etc/my server.pem", "127.0.0.1"}));
}

TEST(ShareSettingsOfTheDoctor, NameAnAddressWhereTheServerListens) {
  for (const auto& [lines, address] : {std::pair{"bind = 192.168.1.5", "192.168.1.5"},
                                       {"bind =fd00::5, 192.168.1.5\nbind = ::1", "fd00::5"},
                                       {"bind = [fd00::5]", "fd00::5"},
                                       {"bind = ::", "127.0.0.1"},
                                       {"bind = fd00::5 0.0.0.0", "127.0.0.1"},
                                       {"bind = fd00::5\nbind = [::]", "127.0.0.1"},
                                       {"bind = 127.0.0.1 fd00::5", "127.0.0.1"},
                                       {"bind =", "127.0.0.1"},
                                       {"bindings = 192.168.1.5", "127.0.0.1"}})
    EXPECT_EQ(ShareSettings::parse(lines).address, address) << lines;
}

TEST(ShareSettingsOfTheDoctor, KeepThePortWhereNoneIsNamed) {
  for (const char* line :
       {"port", "port = 0", "port = 65536", "port = -1", "port = 80x", "ports = 80", "port 80"})
    EXPECT_EQ(ShareSettings::parse(line).port, 8750) << line;
}

}  // namespace
