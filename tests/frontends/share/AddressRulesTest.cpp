#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

#include "AddressRules.h"

namespace {

using namespace frontend::share;

using Words = std::vector<std::string>;

struct Client {
  explicit Client(const char* text) {
    sockaddr_in ipv4{};
    sockaddr_in6 ipv6{};
    ipv4.sin_family = AF_INET;
    ipv6.sin6_family = AF_INET6;
    if (inet_pton(AF_INET, text, &ipv4.sin_addr) == 1) {
      std::memcpy(&storage, &ipv4, sizeof ipv4);
    } else {
      EXPECT_EQ(inet_pton(AF_INET6, text, &ipv6.sin6_addr), 1) << text;
      std::memcpy(&storage, &ipv6, sizeof ipv6);
    }
  }
  const sockaddr& address() const { return reinterpret_cast<const sockaddr&>(storage); }

  sockaddr_storage storage{};
};

std::vector<Subnet> ownNetworks() {
  return {*parseSubnet("2001:db8:5::/64"), *parseSubnet("203.0.113.0/24")};
}

bool allowed(const Words& words, const char* client) {
  return AddressRules(words, ownNetworks).allows(Client(client).address());
}

struct RuleRow {
  Words words;
  const char* client;
  bool allowed;
};

const RuleRow rules[] = {
    // This machine, always.
    {{}, "127.0.0.1", true},
    {{}, "127.255.255.254", true},
    {{}, "::1", true},
    {{}, "::ffff:127.0.0.1", true},
    {{"10.0.0.0/8"}, "127.0.0.1", true},
    {{"10.0.0.0/8"}, "::1", true},
    // By default, private and own networks.
    {{}, "10.255.0.1", true},
    {{}, "9.255.255.255", false},
    {{}, "11.0.0.0", false},
    {{}, "172.16.0.1", true},
    {{}, "172.31.255.255", true},
    {{}, "172.15.255.255", false},
    {{}, "172.32.0.0", false},
    {{}, "192.168.255.1", true},
    {{}, "192.169.0.1", false},
    {{}, "169.254.7.7", true},
    {{}, "8.8.8.8", false},
    {{}, "100.64.0.1", false},
    {{}, "0.0.0.0", false},
    {{}, "::", false},
    {{}, "::ffff:192.168.1.1", true},
    {{}, "::ffff:8.8.8.8", false},
    {{}, "::192.168.1.1", false},
    {{}, "fd12::1", true},
    {{}, "fc00::", true},
    {{}, "fe00::1", false},
    {{}, "fe80::1", true},
    {{}, "febf::1", true},
    {{}, "fec0::1", false},
    {{}, "2001:db8:5::1", true},
    {{}, "2001:db8:6::1", false},
    {{}, "203.0.113.9", true},
    {{}, "203.0.114.9", false},
    // What is written replaces the default.
    {{"private"}, "192.168.0.1", true},
    {{"private"}, "203.0.113.9", false},
    {{"local"}, "203.0.113.9", true},
    {{"local"}, "::ffff:203.0.113.9", true},
    {{"local"}, "192.168.0.1", false},
    {{"any"}, "8.8.8.8", true},
    {{"any"}, "2001:db8:6::1", true},
    {{"192.168.1.0/24"}, "192.168.1.255", true},
    {{"192.168.1.0/24"}, "192.168.2.0", false},
    {{"192.168.1.7"}, "192.168.1.7", true},
    {{"192.168.1.7"}, "192.168.1.6", false},
    {{"192.168.1.4/30"}, "192.168.1.7", true},
    {{"192.168.1.4/30"}, "192.168.1.8", false},
    {{"192.168.1.7", "2001:db8::/33"}, "2001:db8:7fff::", true},
    {{"192.168.1.7", "2001:db8::/33"}, "2001:db8:8000::", false},
    {{"0.0.0.0/0"}, "8.8.8.8", true},
    {{"0.0.0.0/0"}, "2001:db8::1", false},
    {{"::/0"}, "8.8.8.8", true},
    {{"nonsense"}, "192.168.0.1", false},
};

TEST(AddressRules, AllowClientsAsInTheTable) {
  for (const RuleRow& row : rules)
    EXPECT_EQ(allowed(row.words, row.client), row.allowed)
        << row.client << " by " << (row.words.empty() ? "default" : row.words[0]);
}

TEST(AddressRules, AllowClientsOfALocalSocketAndOfNoOtherFamily) {
  sockaddr client{};
  client.sa_family = AF_UNIX;
  EXPECT_TRUE(AddressRules({"192.168.1.7"}).allows(client));
  client.sa_family = AF_UNSPEC;
  EXPECT_FALSE(AddressRules({"any"}).allows(client));
}

TEST(AddressRules, ReadTheOwnNetworksWhenAClientAsks) {
  std::vector<Subnet> networks;
  const AddressRules rulesOfLater({}, [&] { return networks; });
  EXPECT_FALSE(rulesOfLater.allows(Client("203.0.113.9").address()));
  networks = ownNetworks();
  EXPECT_TRUE(rulesOfLater.allows(Client("203.0.113.9").address()));
}

TEST(AddressRules, AreWordsOrSubnets) {
  for (const char* word : {"private", "local", "any", "10.0.0.0/8", "10.1.2.3", "10.1.2.3/32", "::/0", "::1",
                           "fe80::/10", "::ffff:10.0.0.0/104"})
    EXPECT_TRUE(AddressRules::isRule(word)) << word;
  for (const char* word : {"",
                           "Private",
                           "all",
                           "10.0.0.0/33",
                           "::/129",
                           "10.0.0.0/",
                           "10.0.0.0/-1",
                           "10.0.0.0/+8",
                           "10.0.0.0/8 ",
                           "10.0.0.0/8/8",
                           "10.0.0.1/8",
                           "fe80::1/10",
                           "10.0.0",
                           "010.0.0.1",
                           "256.0.0.1",
                           "fe80::1%eth0",
                           "[::1]",
                           "localhost",
                           "/8",
                           "10.0.0.0/4294967304"})
    EXPECT_FALSE(AddressRules::isRule(word)) << word;
  EXPECT_FALSE(AddressRules::isRule(std::string_view("10.0.0.1\0", 9)));
}

TEST(InterfaceSubnets, AreOfRealNetworks) {
  for (const Subnet& subnet : interfaceSubnets()) {
    EXPECT_GT(subnet.prefix, 0U);
    EXPECT_LE(subnet.prefix, 128U);
    EXPECT_NE(subnet, *parseSubnet("127.0.0.0/8"));
    EXPECT_NE(subnet, *parseSubnet("::1"));
  }
}

}  // namespace
