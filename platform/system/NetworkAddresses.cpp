#include "NetworkAddresses.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>

namespace platform {
namespace {

std::string inNumbers(const sockaddr& address) {
  char text[INET6_ADDRSTRLEN];
  const void* number = address.sa_family == AF_INET
                           ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
                           : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
  return inet_ntop(address.sa_family, number, text, sizeof text) != nullptr ? text : "";
}

// Link-local IPv6 addresses are left out: they work only with the name of an interface, which differs on
// every device.
bool reachedByOthers(const ifaddrs& entry) {
  if (entry.ifa_addr == nullptr || (entry.ifa_flags & IFF_LOOPBACK) != 0 || (entry.ifa_flags & IFF_UP) == 0)
    return false;
  if (entry.ifa_addr->sa_family == AF_INET) return true;
  return entry.ifa_addr->sa_family == AF_INET6 &&
         !IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6*>(entry.ifa_addr)->sin6_addr);
}

}  // namespace

std::vector<std::string> networkAddresses() {
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, freeifaddrs);
  std::vector<std::string> addresses;
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next)
    if (reachedByOthers(*entry)) addresses.push_back(inNumbers(*entry->ifa_addr));
  return addresses;
}

}  // namespace platform
