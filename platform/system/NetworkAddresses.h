#pragma once

#include <string>
#include <vector>

namespace platform {

// The addresses of this machine in its networks, IPv4 and IPv6, in numeric form: "192.168.1.5",
// "2001:db8::5". Omits those that reach only the machine itself, those of interfaces that are down, and
// link-local ones of IPv6. Empty if there is none or the system does not report them.
std::vector<std::string> networkAddresses();

}  // namespace platform
