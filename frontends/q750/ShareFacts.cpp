#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <memory>

#include "OwnedDescriptor.h"
#include "RegularFile.h"
#include "ShareCommand.h"
#include "ShareExamination.h"

namespace frontend {
namespace {

constexpr char configuration[] = "/etc/quenvar/share.conf";
constexpr std::size_t largestConfiguration = 64 * 1024;
// Exists while the daemon runs, also for those who are not on the message bus.
constexpr char avahiSocket[] = "/run/avahi-daemon/socket";

std::string installedServer() {
  std::string path = shareProgram();
  return access(path.c_str(), X_OK) == 0 ? path : "";
}

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

// The beginning of what a server at this port of this machine answers; nothing in it if none does in time.
std::string answerAt(int connection) {
  const timeval halfASecond{0, 500000};
  setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &halfASecond, sizeof halfASecond);
  constexpr std::string_view request = "GET /eSCL/ScannerCapabilities HTTP/1.0\r\nHost: localhost\r\n\r\n";
  if (send(connection, request.data(), request.size(), MSG_NOSIGNAL) < 0) return "";
  std::string answer;
  char part[4096];
  constexpr std::size_t enough = 64 * 1024;
  for (ssize_t count = 0; answer.size() < enough && (count = recv(connection, part, sizeof part, 0)) > 0;)
    answer.append(part, static_cast<std::size_t>(count));
  return answer;
}

SharePort whoServes(std::uint16_t port) {
  const platform::OwnedDescriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return SharePort::unused;
  const bool ours = answerAt(connection.get()).find("Quenvar Q750") != std::string::npos;
  return ours ? SharePort::shared : SharePort::taken;
}

std::string inNumbers(const sockaddr& address) {
  char text[INET6_ADDRSTRLEN];
  const void* number = address.sa_family == AF_INET
                           ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in&>(address).sin_addr)
                           : &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr;
  return inet_ntop(address.sa_family, number, text, sizeof text) != nullptr ? text : "";
}

// Link-local IPv6 addresses are left out: they work with the name of an interface alone, which differs on
// every device.
bool reachedByOthers(const ifaddrs& entry) {
  if (entry.ifa_addr == nullptr || (entry.ifa_flags & IFF_LOOPBACK) != 0 || (entry.ifa_flags & IFF_UP) == 0)
    return false;
  if (entry.ifa_addr->sa_family == AF_INET) return true;
  return entry.ifa_addr->sa_family == AF_INET6 &&
         !IN6_IS_ADDR_LINKLOCAL(&reinterpret_cast<const sockaddr_in6*>(entry.ifa_addr)->sin6_addr);
}

std::vector<std::string> ownAddresses() {
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, freeifaddrs);
  std::vector<std::string> addresses;
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next)
    if (reachedByOthers(*entry)) addresses.push_back(inNumbers(*entry->ifa_addr));
  return addresses;
}

}  // namespace

ShareFacts takeShareFacts() {
  ShareFacts facts;
  facts.program = installedServer();
  if (facts.program.empty()) return facts;
  facts.settings = ShareSettings::parse(platform::readRegularFile(configuration, largestConfiguration).bytes);
  facts.port = whoServes(facts.settings.port);
  facts.avahi = exists(avahiSocket);
  facts.certificateThere = facts.settings.certificate.empty() || exists(facts.settings.certificate);
  facts.addresses = ownAddresses();
  return facts;
}

}  // namespace frontend
