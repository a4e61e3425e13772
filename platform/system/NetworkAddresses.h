#pragma once

#include <string>
#include <vector>

namespace platform {

// The addresses of this machine in its networks, IPv4 and IPv6, in numbers: "192.168.1.5", "2001:db8::5".
// Left out are those by which only the machine itself is reached, those of interfaces that are down, and
// link-local ones of IPv6. Empty if there is none or the system does not report them.
std::vector<std::string> networkAddresses();

}  // namespace platform
