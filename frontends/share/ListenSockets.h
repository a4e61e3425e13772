#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OwnedDescriptor.h"

namespace frontend::share {

// Sockets that listen, and where.
struct ListenSockets {
  std::vector<platform::OwnedDescriptor> sockets;
  // Of those of the Internet, as in the address of a page: "127.0.0.1:8750", "[::1]:8750".
  std::vector<std::string> addresses;
  bool servesNetwork = false;  // whether any of them can be reached from other machines
};

// Listens on these addresses, IPv4 or IPv6 without a name, at one port; 0 is any free one. Without addresses,
// on this machine alone: 127.0.0.1, and ::1 where there is IPv6. "::" serves IPv4 as well, unless an IPv4
// address is given too. Throws HttpServerError with a sentence about the address that failed.
ListenSockets listenOn(const std::vector<std::string>& addresses, std::uint16_t port);

// The addresses to open in a browser, for a server that listens at these, on a machine with these addresses
// in its networks: "[::]:8750" stands for each of them, and for localhost where there is none.
std::vector<std::string> addressesToOpen(const std::vector<std::string>& listening,
                                         const std::vector<std::string>& ofMachine);

// The sockets that the service manager listens on for this process and hands over (sd_listen_fds(3)); none if
// it was started otherwise. Called once: the environment variables are removed. Throws HttpServerError if one
// of them does not listen.
ListenSockets inheritedSockets();

// Tells the service manager that clients are served, if it wants to know (sd_notify(3)).
void notifyReady();

}  // namespace frontend::share
