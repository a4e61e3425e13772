#include "AddressRules.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <memory>
#include <utility>

namespace frontend::share {
namespace {

using Bytes = std::array<std::uint8_t, 16>;

constexpr unsigned allBits = 128;
constexpr unsigned mappedBits = 96;  // of the prefix of all addresses of IPv4

constexpr std::string_view loopbackRanges[] = {"127.0.0.0/8", "::1"};
constexpr std::string_view privateRanges[] = {"10.0.0.0/8",     "172.16.0.0/12", "192.168.0.0/16",
                                              "169.254.0.0/16", "fc00::/7",      "fe80::/10"};

Bytes mapped(const in_addr& address) {
  Bytes bytes{};
  bytes[10] = bytes[11] = 0xFF;
  std::memcpy(&bytes[12], &address, sizeof address);
  return bytes;
}

Bytes bytesOf(const in6_addr& address) {
  Bytes bytes;
  std::memcpy(bytes.data(), &address, bytes.size());
  return bytes;
}

// Nothing for the other families.
std::optional<Bytes> bytesOf(const sockaddr& address) {
  if (address.sa_family == AF_INET) {
    sockaddr_in ipv4;
    std::memcpy(&ipv4, &address, sizeof ipv4);
    return mapped(ipv4.sin_addr);
  }
  if (address.sa_family != AF_INET6) return std::nullopt;
  sockaddr_in6 ipv6;
  std::memcpy(&ipv6, &address, sizeof ipv6);
  return bytesOf(ipv6.sin6_addr);
}

// The mask of a byte of which the first bits, at most 8, belong to the prefix.
std::uint8_t maskOf(unsigned bits) {
  return static_cast<std::uint8_t>(0xFF00U >> std::min(bits, 8U));
}

Bytes cut(Bytes address, unsigned prefix) {
  for (unsigned i = 0; i < address.size(); ++i) address[i] &= maskOf(prefix > 8 * i ? prefix - 8 * i : 0);
  return address;
}

unsigned bitsOf(const Bytes& mask) {
  unsigned bits = 0;
  for (const std::uint8_t byte : mask) bits += static_cast<unsigned>(std::popcount(byte));
  return bits;
}

// The network of an address and its mask; nothing for other families, and for an empty mask, which would
// match every address.
std::optional<Subnet> networkOf(const sockaddr* address, const sockaddr* mask) {
  if (address == nullptr || mask == nullptr) return std::nullopt;
  const auto own = bytesOf(*address);
  auto bits = bytesOf(*mask);
  if (!own || !bits) return std::nullopt;
  const bool ipv4 = address->sa_family == AF_INET;
  if (ipv4) std::fill_n(bits->begin(), mappedBits / 8, std::uint8_t{0xFF});
  const unsigned prefix = bitsOf(*bits);
  if (prefix <= (ipv4 ? mappedBits : 0)) return std::nullopt;
  return Subnet{cut(*own, prefix), prefix};
}

bool contain(const std::vector<Subnet>& subnets, const Bytes& address) {
  return std::any_of(subnets.begin(), subnets.end(),
                     [&](const Subnet& subnet) { return subnet.contains(address); });
}

}  // namespace

bool Subnet::contains(const Bytes& other) const {
  return cut(other, prefix) == address;
}

std::optional<Subnet> parseSubnet(std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string address(text.substr(0, slash));
  if (address.find('\0') != std::string::npos) return std::nullopt;  // inet_pton() would end there
  in_addr ipv4;
  in6_addr ipv6;
  Subnet subnet{{}, allBits};
  unsigned base = 0;
  if (inet_pton(AF_INET, address.c_str(), &ipv4) == 1) {
    subnet.address = mapped(ipv4);
    base = mappedBits;
  } else if (inet_pton(AF_INET6, address.c_str(), &ipv6) == 1) {
    subnet.address = bytesOf(ipv6);
  } else {
    return std::nullopt;
  }
  if (slash == std::string_view::npos) return subnet;
  const std::string_view digits = text.substr(slash + 1);
  const char* end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, subnet.prefix);
  if (error != std::errc() || rest != end || subnet.prefix > allBits - base) return std::nullopt;
  subnet.prefix += base;
  if (cut(subnet.address, subnet.prefix) != subnet.address) return std::nullopt;
  return subnet;
}

std::vector<Subnet> interfaceSubnets() {
  std::vector<Subnet> subnets;
  ifaddrs* all = nullptr;
  if (getifaddrs(&all) != 0) return subnets;
  const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(all, freeifaddrs);
  for (const ifaddrs* one = all; one != nullptr; one = one->ifa_next) {
    if ((one->ifa_flags & IFF_LOOPBACK) != 0 || (one->ifa_flags & IFF_UP) == 0) continue;
    if (const auto subnet = networkOf(one->ifa_addr, one->ifa_netmask)) subnets.push_back(*subnet);
  }
  return subnets;
}

bool AddressRules::isRule(std::string_view word) {
  return word == "private" || word == "local" || word == "any" || parseSubnet(word).has_value();
}

AddressRules::AddressRules(const std::vector<std::string>& words,
                           std::function<std::vector<Subnet>()> ownSubnets) {
  for (const std::string_view range : loopbackRanges) subnets_.push_back(*parseSubnet(range));
  const std::vector<std::string> defaults = {"private", "local"};
  for (const std::string& word : words.empty() ? defaults : words) {
    if (word == "local") {
      ownSubnets_ = ownSubnets;
    } else if (word == "private") {
      for (const std::string_view range : privateRanges) subnets_.push_back(*parseSubnet(range));
    } else if (word == "any") {
      subnets_.push_back(Subnet{});
    } else if (const auto subnet = parseSubnet(word)) {
      subnets_.push_back(*subnet);
    }
  }
}

bool AddressRules::allows(const sockaddr& client) const {
  if (client.sa_family == AF_UNIX) return true;
  const auto address = bytesOf(client);
  if (!address) return false;
  return contain(subnets_, *address) || (ownSubnets_ && contain(ownSubnets_(), *address));
}

}  // namespace frontend::share
