#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "AddressRules.h"
#include "ScanLimits.h"
#include "ShareConfig.h"
#include "TemporaryFolder.h"
#include "Tone.h"

namespace {

using namespace frontend;
using frontend::share::ShareConfig;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

ShareConfig parse(const std::string& text) {
  return ShareConfig::parse(text, "share.conf");
}

TEST(ShareConfig, OfAnEmptyTextSetsNothing) {
  const ShareConfig config = parse("# comment\n\n \t\r\n#port = 1\n");
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_THAT(config.bind, IsEmpty());
  EXPECT_EQ(config.device, std::nullopt);
  EXPECT_EQ(config.port, std::nullopt);
}

TEST(ShareConfig, TakesEverySetting) {
  const ShareConfig config = parse(
      "device = usb:1-2.3\nport=9000\r\n  name =  Scanner #2 = B\xC3\xBCro \nbind = 192.168.1.7, ::1\nbind = "
      "fe80::1%eth0\n"
      "server_names = scan.example.org SCANNER\nallow = private 10.1.2.0/24\ncertificate = /a b.pem\n"
      "key = /c.pem\ngamma = 1.8\ntimeout = 7.5\nannounce = local");
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_EQ(config.device, "usb:1-2.3");
  EXPECT_EQ(config.port, 9000);
  EXPECT_EQ(config.name, "Scanner #2 = B\xC3\xBCro");
  EXPECT_THAT(config.bind, ElementsAre("192.168.1.7", "::1", "fe80::1%eth0"));
  EXPECT_THAT(config.serverNames, ElementsAre("scan.example.org", "SCANNER"));
  EXPECT_THAT(config.allow, ElementsAre("private", "10.1.2.0/24"));
  EXPECT_EQ(config.certificate, "/a b.pem");
  EXPECT_EQ(config.key, "/c.pem");
  EXPECT_EQ(config.gammaHundredths, 180U);
  EXPECT_EQ(config.timeout, 7500ms);
  EXPECT_EQ(config.announce, ShareConfig::Announce::local);
}

struct InvalidRow {
  const char* line;
  const char* fault;
};

const InvalidRow invalidLines[] = {
    {"nonsense", "expected NAME = VALUE"},
    {"port 8750", "expected NAME = VALUE"},
    {"= 1", "unknown setting"},
    {"Port = 1", "unknown setting"},
    {"device =", "expected the name of a scanner, as q750 list prints it"},
    {"device = scanner", "expected the name of a scanner, as q750 list prints it"},
    {"port =", "expected a number from 1 to 65535"},
    {"port = 0", "expected a number from 1 to 65535"},
    {"port = 65536", "expected a number from 1 to 65535"},
    {"port = -1", "expected a number from 1 to 65535"},
    {"port = 80 81", "expected a number from 1 to 65535"},
    {"port = http", "expected a number from 1 to 65535"},
    {"name =", "expected a text in UTF-8 without control characters"},
    {"name = a\tb", "expected a text in UTF-8 without control characters"},
    {"bind =", "expected addresses of this machine, such as 192.168.1.7, or :: for all of them"},
    {"bind = 127.0.0.1 localhost",
     "expected addresses of this machine, such as 192.168.1.7, or :: for all of them"},
    {"bind = [127.0.0.1]", "expected addresses of this machine, such as 192.168.1.7, or :: for all of them"},
    {"server_names = ,", "expected names under which clients reach this machine"},
    {"server_names = http://x", "expected names under which clients reach this machine"},
    {"allow =", "expected private, local, any, or subnets such as 192.168.1.0/24"},
    {"allow = 10.0.0.1/8", "expected private, local, any, or subnets such as 192.168.1.0/24"},
    {"certificate = a.pem", "expected the path of a file, from the root"},
    {"key = a.pem", "expected the path of a file, from the root"},
    {"gamma = 0.09", "expected a number from 0.1 to 5"},
    {"gamma = 5.01", "expected a number from 0.1 to 5"},
    {"gamma = nan", "expected a number from 0.1 to 5"},
    {"timeout = 0", "expected seconds, from 0.1 to 86400"},
    {"timeout = 5s", "expected seconds, from 0.1 to 86400"},
    {"announce = yes", "expected on, off or local"},
};

TEST(ShareConfig, ComplainsOfALineThatItDoesNotUnderstand) {
  for (const auto& [line, fault] : invalidLines) {
    const ShareConfig config = parse("# first\n" + std::string(line) + "\nname = last\n");
    const std::string shown = std::regex_replace(line, std::regex("\t"), "?");
    EXPECT_THAT(config.complaints.at(0), "share.conf:2: " + shown + ": " + fault + ".");
    EXPECT_EQ(config.complaints.size(), 1U) << line;
    EXPECT_EQ(config.name, "last") << line;
    EXPECT_THAT(config.bind, IsEmpty()) << line;
    EXPECT_THAT(config.allow, IsEmpty()) << line;
  }
}

TEST(ShareConfig, TakesASettingOnceAndListsAgain) {
  const ShareConfig config = parse("port = 1\nport = 2\nallow = private\nallow = local\n");
  EXPECT_EQ(config.port, 1);
  EXPECT_THAT(config.allow, ElementsAre("private", "local"));
  EXPECT_THAT(config.complaints, ElementsAre("share.conf:2: port = 2: set before; remove one of the lines."));
}

TEST(ShareConfig, WantsBothPartsOfACertificate) {
  for (const char* text : {"certificate = /a", "key = /a"}) {
    EXPECT_THAT(parse(text).complaints,
                ElementsAre("share.conf: certificate and key belong together; set both or neither."));
  }
}

TEST(ShareConfig, WantsANameInUtf8) {
  EXPECT_EQ(parse("name = B\xC3\xBCro").name, "B\xC3\xBCro");
  EXPECT_THAT(parse("name = B\xFCro").complaints,
              ElementsAre("share.conf:1: name = B?ro: expected a text in UTF-8 without control characters."));
}

TEST(ShareConfig, ComplainsInPlainAscii) {
  EXPECT_THAT(ShareConfig::parse("\x1b[2J\xff", "\x07").complaints,
              ElementsAre("?:1: ?[2J?: expected NAME = VALUE."));
}

TEST(ShareConfigFile, IsReadIfThereIsOne) {
  const TemporaryFolder folder;
  EXPECT_THAT(ShareConfig::load(folder / "none").complaints, IsEmpty());
  writeContent(folder / "share.conf", "port = 9000\n");
  EXPECT_EQ(ShareConfig::load(folder / "share.conf").port, 9000);
}

TEST(ShareConfigFile, HasToBeARegularFileOfASensibleSize) {
  const TemporaryFolder folder;
  const std::string path = folder / "share.conf";
  const auto complaint = [&] { return ShareConfig::load(path).complaints.at(0); };
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);  // opening it would wait for a writer
  EXPECT_EQ(complaint(), path + ": this is not a regular file.");
  std::filesystem::remove(path);
  writeContent(path, std::string(65536, '\n') + "#");
  EXPECT_EQ(complaint(), path + ": the file is larger than 65536 bytes.");
  std::filesystem::remove(path);
  std::filesystem::create_symlink("share.conf", path);
  EXPECT_EQ(complaint(), path + ": cannot be read: Too many levels of symbolic links.");
}

TEST(ShareConfigSample, ChangesNothing) {
  const ShareConfig config = ShareConfig::load(Q750_SHARE_SAMPLE_CONFIGURATION);
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_EQ(config.port, std::nullopt);
}

TEST(ShareConfigSample, HasEverySettingWithItsDefault) {
  const std::string sample = contentOf(Q750_SHARE_SAMPLE_CONFIGURATION);
  std::vector<std::string_view> missing = ShareConfig::settingNames();
  const std::regex commented("\n#([a-z_]+) = ");
  for (std::sregex_iterator match(sample.begin(), sample.end(), commented), end; match != end; ++match)
    EXPECT_EQ(std::erase(missing, match->str(1)), 1U) << match->str(1);
  EXPECT_THAT(missing, IsEmpty());
  const ShareConfig config = parse(std::regex_replace(sample, commented, "\n$1 = "));
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_EQ(config.port, 8750);
  EXPECT_THAT(config.allow, ElementsAre("private", "local"));
  EXPECT_EQ(config.gammaHundredths, Tone().gammaHundredths);
  EXPECT_EQ(config.timeout, limits::defaultTimeout);
  EXPECT_EQ(config.announce, ShareConfig::Announce::on);
}

}  // namespace
