#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace virtualscanner {

// Where a server listens: an address or a name of this machine, and a TCP port; port 0 is any free one.
struct ListenAddress {
  std::string host;  // an IPv6 address without its brackets
  std::uint16_t port = 0;

  friend bool operator==(const ListenAddress&, const ListenAddress&) = default;
};

// Reads ADDRESS:PORT, with brackets around an IPv6 address. Returns nothing for anything else. Does not check
// whether such an address exists.
std::optional<ListenAddress> parseListenAddress(std::string_view text);
// The address as parseListenAddress() reads it.
std::string textOf(const ListenAddress& address);

}  // namespace virtualscanner
