#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ListenSockets.h"

namespace {

using frontend::share::addressesToOpen;
using frontend::share::isListenAddress;
using frontend::share::listenOn;
using frontend::share::ListenSockets;
using testing::ElementsAre;

TEST(ListenAddresses, AreNumbersThatAnInterfaceMayFollow) {
  for (const char* address : {"127.0.0.1", "::", "[::1]", "fe80::1%eth0", "[fe80::1%eth0]"})
    EXPECT_TRUE(isListenAddress(address)) << address;
  for (const std::string address :
       {"", "localhost", "127.1", "[127.0.0.1]", "[]", "[::1", "::1]", "127.0.0.1:80"})
    EXPECT_FALSE(isListenAddress(address)) << address;
  EXPECT_FALSE(isListenAddress({"::1\0", 4}));
}

TEST(ListenSockets, ServeAnAddressThatIsRepeatedOnce) {
  const ListenSockets once = listenOn({"127.0.0.1", "127.0.0.1"}, 0);
  EXPECT_EQ(once.sockets.size(), 1U);
  EXPECT_EQ(once.addresses.size(), 1U);
  EXPECT_FALSE(once.servesNetwork);
}

const std::vector<std::string> machine = {"192.168.1.5", "10.0.0.7", "2001:db8::5"};

TEST(AddressesToOpen, AreThoseThatTheServerListensAt) {
  EXPECT_THAT(addressesToOpen({"127.0.0.1:8750", "[::1]:8750"}, machine),
              ElementsAre("127.0.0.1:8750", "[::1]:8750"));
}

TEST(AddressesToOpen, AreThoseOfTheMachineForAllOfThem) {
  EXPECT_THAT(addressesToOpen({"[::]:8750"}, machine),
              ElementsAre("192.168.1.5:8750", "10.0.0.7:8750", "[2001:db8::5]:8750"));
  EXPECT_THAT(addressesToOpen({"0.0.0.0:80"}, machine), ElementsAre("192.168.1.5:80", "10.0.0.7:80"));
}

// With an address of IPv4 beside it, the other serves IPv6 alone.
TEST(AddressesToOpen, NameEachAddressOnce) {
  EXPECT_THAT(addressesToOpen({"0.0.0.0:80", "[::]:80"}, machine),
              ElementsAre("192.168.1.5:80", "10.0.0.7:80", "[2001:db8::5]:80"));
  EXPECT_THAT(addressesToOpen({"[::]:80", "127.0.0.1:80"}, machine),
              ElementsAre("[2001:db8::5]:80", "127.0.0.1:80"));
}

TEST(AddressesToOpen, AreThisMachineItselfWithoutANetwork) {
  EXPECT_THAT(addressesToOpen({"[::]:8750"}, {}), ElementsAre("localhost:8750"));
  EXPECT_THAT(addressesToOpen({}, machine), ElementsAre());
}

}  // namespace
