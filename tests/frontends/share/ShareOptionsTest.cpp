#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Golden.h"
#include "ShareOptions.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ShareOptions parseShare(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "q750-share");
  return parseShareOptions(static_cast<int>(arguments.size()), arguments.data(), "q750-share 9.9.9");
}

std::string errorOf(const std::vector<const char*>& arguments) {
  try {
    completed(parseShare(arguments), {});
  } catch (const ShareUsageError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(ShareOptions, ServeThisMachineByDefault) {
  const ShareOptions options = parseShare({});
  EXPECT_EQ(options.text, "");
  EXPECT_EQ(options.device, "");
  EXPECT_EQ(options.port, std::nullopt);
  EXPECT_THAT(options.bind, IsEmpty());
  EXPECT_EQ(options.timeout, std::nullopt);
  EXPECT_EQ(options.announce, std::nullopt);
}

TEST(ShareOptions, AreTaken) {
  const ShareOptions options = parseShare({"--device", "usb:1-2", "--port", "0", "--name", "Office", "--bind",
                                           "::", "--bind", "10.0.0.1", "--certificate", "c.pem", "--key",
                                           "k.pem", "--timeout", "2.5", "--announce", "--config", "my.conf"});
  EXPECT_EQ(options.device, "usb:1-2");
  EXPECT_EQ(options.port, 0);
  EXPECT_EQ(options.name, "Office");
  EXPECT_THAT(options.bind, ElementsAre("::", "10.0.0.1"));
  EXPECT_EQ(options.certificate, "c.pem");
  EXPECT_EQ(options.key, "k.pem");
  EXPECT_EQ(options.timeout, 2500ms);
  EXPECT_EQ(options.announce, ShareConfig::Announce::local);
  EXPECT_EQ(options.config, "my.conf");
}

TEST(ShareOptions, OfTheVirtualScannerAreTaken) {
  const VirtualScannerOptions options =
      parseShare({"--virtual", "--virtual-paper", "a.png", "--virtual-fault", "stall", "--virtual-fault",
                  "unplug:3", "--virtual-packet-size", "99", "--virtual-warm-up", "5", "--virtual-speed", "7",
                  "--virtual-real-time"})
          .virtualScanner;
  EXPECT_EQ(options.paper, "a.png");
  EXPECT_THAT(options.faults, ElementsAre("stall", "unplug:3"));
  EXPECT_EQ(options.packetSize, 99U);
  EXPECT_EQ(options.warmUpMs, 5U);
  EXPECT_EQ(options.bytesPerSecond, 7U);
  EXPECT_TRUE(options.realTime);
}

TEST(ShareOptions, TakeWhatTheyLeaveOpenFromTheConfiguration) {
  const ShareConfig config = ShareConfig::parse(
      "device = usb:1-2\nport = 99\nname = Office\nbind = ::\nserver_names = scan.example\nallow = any\n"
      "certificate = /c\nkey = /k\ngamma = 1.5\ntimeout = 7\nannounce = off\n",
      "share.conf");
  const ShareOptions options = completed(parseShare({}), config);
  EXPECT_EQ(options.device, "usb:1-2");
  EXPECT_EQ(options.port, 99);
  EXPECT_EQ(options.name, "Office");
  EXPECT_THAT(options.bind, ElementsAre("::"));
  EXPECT_THAT(options.serverNames, ElementsAre("scan.example"));
  EXPECT_THAT(options.allow, ElementsAre("any"));
  EXPECT_EQ(options.certificate + options.key, "/c/k");
  EXPECT_EQ(options.tone.gammaHundredths, 150U);
  EXPECT_EQ(options.timeout, 7s);
  EXPECT_EQ(options.announce, ShareConfig::Announce::off);
}

TEST(ShareOptions, ComeBeforeTheConfiguration) {
  const ShareConfig config = ShareConfig::parse(
      "device = usb:1-2\nport = 99\nname = Office\nbind = ::\ncertificate = /c\nkey = /k\ntimeout = 7\n",
      "share.conf");
  const ShareOptions options =
      completed(parseShare({"--virtual", "--port", "0", "--name", "Home", "--bind", "127.0.0.1",
                            "--certificate", "c", "--key", "k", "--timeout", "9"}),
                config);
  EXPECT_EQ(options.device, "");
  EXPECT_EQ(options.port, 0);
  EXPECT_EQ(options.name, "Home");
  EXPECT_THAT(options.bind, ElementsAre("127.0.0.1"));
  EXPECT_EQ(options.certificate + options.key, "ck");
  EXPECT_EQ(options.timeout, 9s);
}

TEST(ShareOptions, AreNotCompletedByAConfigurationWithComplaints) {
  const ShareConfig config = ShareConfig::parse("prot = 99\nfrob = 1\n", "share.conf");
  EXPECT_EQ(config.complaints.size(), 2U);
  EXPECT_THROW(completed(parseShare({}), config), ShareUsageError);
}

TEST(ShareOptions, AreExplained) {
  expectGolden("help-share.txt", parseShare({"--help"}).text);
  EXPECT_EQ(parseShare({"--version"}).text, "q750-share 9.9.9\n");
}

TEST(ShareOptions, ThatMakeNoSenseAreRefused) {
  const struct {
    std::vector<const char*> arguments;
    const char* words;
  } cases[] = {
      {{"--port", "65536"}, "Try q750 share --help."},
      {{"--port", "-1"}, "Try q750 share --help."},
      {{"--frob"}, "Try q750 share --help."},
      {{"page.png"}, "Try q750 share --help."},
      {{"--timeout", "soon"}, "--timeout soon: not a number of seconds"},
      {{"--timeout", "0"}, "--timeout 0: not a number of seconds"},
      {{"--key", "k.pem"}, "--certificate and --key belong together."},
      {{"--certificate", "c.pem"}, "--certificate and --key belong together."},
      {{"--virtual", "--device", "usb"}, "exclude each other"},
      {{"--virtual-warm-up", "5"}, "need --virtual"},
      {{"--name", "B\xFCro"}, "--name: expected a text in UTF-8"},
      {{"--name", "a\nb"}, "--name: expected a text in UTF-8"},
      {{"--bind", "::1", "--bind", "localhost"}, "--bind localhost: not an address."},
  };
  for (const auto& one : cases) EXPECT_THAT(errorOf(one.arguments), HasSubstr(one.words));
}

}  // namespace
