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

// Reads ADDRESS:PORT; an IPv6 address stands in brackets. Nothing for anything else. Whether there is such an
// address is not looked at.
std::optional<ListenAddress> parseListenAddress(std::string_view text);
// The same, written.
std::string textOf(const ListenAddress& address);

}  // namespace virtualscanner
