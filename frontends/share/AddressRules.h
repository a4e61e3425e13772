#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct sockaddr;

// Which clients are served, by address.
namespace frontend::share {

// A range of addresses. One of IPv4 is the range of IPv6 that maps it (::ffff:a.b.c.d), so that a client has
// one address whichever socket it reaches.
struct Subnet {
  std::array<std::uint8_t, 16> address{};  // zero beyond the prefix
  unsigned prefix = 0;                     // bits: up to 128

  bool contains(const std::array<std::uint8_t, 16>& other) const;
  friend bool operator==(const Subnet&, const Subnet&) = default;
};

// "192.168.1.0/24", "fd00::/8", or one address. Nothing for other texts, and if a bit beyond the prefix is
// set: that is a mistake, and it is unclear whether the address or the prefix is wrong.
std::optional<Subnet> parseSubnet(std::string_view text);

// The networks that this machine's interfaces are in at this moment, other than loopback; none if they cannot
// be read. Any thread.
std::vector<Subnet> interfaceSubnets();

// The rules are words of share.conf:
//
//   private   the ranges for private networks and link-local addresses, of IPv4 and IPv6
//   local     the networks that this machine's interfaces are in, read when a client connects
//   any       every address
//   SUBNET    as parseSubnet() reads it
//
// This machine is always allowed. Immutable; any thread; nothing throws but std::bad_alloc.
class AddressRules {
 public:
  static bool isRule(std::string_view word);

  // Words that are not rules are ignored. Without words, the rules are "private" and "local": a client from
  // the Internet is served only if the administrator allows it.
  explicit AddressRules(const std::vector<std::string>& words = {},
                        std::function<std::vector<Subnet>()> ownSubnets = interfaceSubnets);

  // An address of a family other than IPv4, IPv6 and the local one is not allowed.
  bool allows(const sockaddr& client) const;

 private:
  std::vector<Subnet> subnets_;
  std::function<std::vector<Subnet>()> ownSubnets_;  // empty unless "local" is a rule
};

}  // namespace frontend::share
