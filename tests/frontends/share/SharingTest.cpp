#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sharing.h"

namespace {

using namespace frontend::share;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

SharingSetup sharedScanner() {
  SharingSetup setup;
  setup.identity = identityOf({"0123456789abcdef0123456789abcdef", "myhost"}, "usb", "");
  setup.address = "http://myhost.local:8750";
  setup.listening = {"[::]:8750"};
  return setup;
}

TEST(AnnouncedServices, DescribeTheServer) {
  const SharingSetup setup = sharedScanner();
  const auto services = announcedServices(setup);
  EXPECT_THAT(services, ElementsAre(AnnouncedService{"_uscan._tcp", 8750,
                                                     announcedText(setup.identity, setup.address, "")}));
  EXPECT_EQ(services[0].text.front(), "txtvers=1");
  EXPECT_THAT(services[0].text, Contains("uuid=" + setup.identity.uuid));
  EXPECT_THAT(services[0].text, Contains("adminurl=http://myhost.local:8750/"));
}

TEST(AnnouncedServices, HaveATypeOfTheirOwnOverTls) {
  SharingSetup setup = sharedScanner();
  setup.encrypted = true;
  EXPECT_EQ(announcedServices(setup)[0].type, "_uscans._tcp");
}

TEST(AnnouncedServices, NameNoAddressThatNobodyResolves) {
  SharingSetup setup = sharedScanner();
  setup.address.clear();
  EXPECT_THAT(announcedServices(setup)[0].text, Not(Contains(StartsWith("adminurl="))));
}

TEST(AnnouncedPort, IsThatOfTheFirstAddressThatTheNetworkReaches) {
  EXPECT_EQ(announcedPort({"127.0.0.1:8750", "[::1]:8751", "192.168.1.5:8752", "[::]:8753"}), 8752);
}

TEST(AnnouncedPort, IsThatOfTheFirstAddress) {
  EXPECT_EQ(announcedPort({"127.0.0.1:8750", "[::1]:8751"}), 8750);
  EXPECT_EQ(announcedPort({"[2001:db8::5]:65535"}), 65535);
  EXPECT_EQ(announcedPort({}), 0);
}

TEST(AnnouncementReaches, TheNetworkWhereOneAddressDoes) {
  for (const char* address : {"0.0.0.0:8750", "[::]:8750", "192.168.1.5:8750", "[fd00::5]:8750"}) {
    EXPECT_EQ(reachOf({"127.0.0.1:8750", address}, false), AnnouncementReach::network) << address;
  }
}

TEST(AnnouncementReaches, NoFurtherThanThisMachineOtherwise) {
  const std::vector<std::string> local{"127.0.0.1:8750", "[::1]:8750", "127.1.2.3:1"};
  EXPECT_EQ(reachOf(local, false), AnnouncementReach::nobody);
  EXPECT_EQ(reachOf(local, true), AnnouncementReach::thisMachine);
}

TEST(AnnouncementReaches, NobodyWithoutAnAddress) {
  EXPECT_EQ(reachOf({}, false), AnnouncementReach::nobody);
  EXPECT_EQ(reachOf({}, true), AnnouncementReach::nobody);
}

}  // namespace
