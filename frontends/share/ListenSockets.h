#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OwnedDescriptor.h"

namespace frontend::share {

// Listening sockets and their addresses.
struct ListenSockets {
  std::vector<platform::OwnedDescriptor> sockets;
  // Those of the IPv4 and IPv6 sockets, as in a URL: "127.0.0.1:8750", "[::1]:8750".
  std::vector<std::string> addresses;
  bool servesNetwork = false;  // whether any of them can be reached from other machines
};

// Whether it is an address of IPv4 or IPv6 as a number, which an interface may follow ("fe80::1%eth0"). One
// of IPv6 may be in brackets.
bool isListenAddress(std::string_view text);

// Listens on these addresses at one port; 0 is any free one. An address that is repeated, or that
// 0.0.0.0 or :: includes, counts once. Without addresses, only on this machine: 127.0.0.1, and ::1 if there
// is IPv6. "::" serves IPv4 as well, unless an IPv4 address is given too. Throws HttpServerError with a
// sentence about the address that failed.
ListenSockets listenOn(const std::vector<std::string>& addresses, std::uint16_t port);

// The addresses to open in a browser, for a server that listens at these, on a machine with these addresses
// in its networks: "[::]:8750" is replaced by each of them, and by localhost if there is none.
std::vector<std::string> addressesToOpen(const std::vector<std::string>& listening,
                                         const std::vector<std::string>& ofMachine);

// The sockets that the service manager listens on for this process and hands over (sd_listen_fds(3)); none if
// it was started otherwise. Called once: the environment variables are removed. Throws HttpServerError if one
// of them does not listen.
ListenSockets inheritedSockets();

// Notifies the service manager that clients are served, if it expects that (sd_notify(3)).
void notifyReady();

}  // namespace frontend::share
