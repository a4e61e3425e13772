#include "ListenSockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

#include "HttpServer.h"

namespace frontend::share {
namespace {

constexpr int firstInheritedDescriptor = 3;
constexpr int mostInheritedDescriptors = 16;
constexpr int backlog = 64;

using Addresses = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

Addresses resolve(const std::string& address, std::uint16_t port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) found = nullptr;
  return {found, freeaddrinfo};
}

bool isIpv6(const std::string& address) {
  return address.find(':') != std::string::npos;
}

// Empty for a local socket.
std::string textOf(const sockaddr* address, socklen_t size) {
  char host[NI_MAXHOST];
  char port[NI_MAXSERV];
  constexpr int asNumbers = NI_NUMERICHOST | NI_NUMERICSERV;
  if (address->sa_family == AF_UNIX ||
      getnameinfo(address, size, host, sizeof host, port, sizeof port, asNumbers) != 0)
    return "";
  return address->sa_family == AF_INET6 ? "[" + std::string(host) + "]:" + port
                                        : host + (":" + std::string(port));
}

std::string textOf(int socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  return getsockname(socket, generic, &size) == 0 ? textOf(generic, size) : "";
}

void add(ListenSockets& sockets, platform::OwnedDescriptor socket) {
  const std::string address = textOf(socket.get());
  const bool local = address.empty() || address.starts_with("127.") || address.starts_with("[::1]");
  sockets.servesNetwork = sockets.servesNetwork || !local;
  if (!address.empty()) sockets.addresses.push_back(address);
  sockets.sockets.push_back(std::move(socket));
}

// Any other descriptor would always be ready without a client to serve.
void requireListening(int descriptor) {
  int type = 0;
  int listens = 0;
  socklen_t size = sizeof type;
  const bool isStream = getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
  size = sizeof listens;
  if (!isStream || getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0)
    throw HttpServerError("The service manager passed descriptor " + std::to_string(descriptor) +
                          ", which is not a listening stream socket. Use ListenStream= and Accept=no.");
}

std::uint16_t portOf(int socket) {
  const std::string text = textOf(socket);
  return static_cast<std::uint16_t>(std::atoi(text.substr(text.rfind(':') + 1).c_str()));
}

[[noreturn]] void throwListenError(const std::string& address, std::uint16_t port, int error) {
  const std::string where = "Cannot listen on " + address + ", port " + std::to_string(port) + ": ";
  switch (error) {
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
      throw HttpServerError(where + "this machine has no such address.");
    case EINVAL:  // a link-local address, ambiguous without its interface
      throw HttpServerError(where + "add the interface to the address, such as fe80::1%eth0.");
    case EADDRINUSE:
      throw HttpServerError(where + "in use by another program. Stop it, or choose another --port.");
    case EACCES:
    case EPERM:
      throw HttpServerError(where + "not permitted. Choose a --port above 1023.");
    default:
      throw HttpServerError(where + std::generic_category().message(error) + ".");
  }
}

// Returns an error number, 0 for success.
int listenAt(const addrinfo& where, bool ipv6Only, platform::OwnedDescriptor& socket) {
  socket = platform::OwnedDescriptor(
      ::socket(where.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, where.ai_protocol));
  const int yes = 1;
  const int only = ipv6Only ? 1 : 0;
  if (socket.get() < 0) return errno;
  // A restarted server need not wait for the connections of the previous one.
  setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  if (where.ai_family == AF_INET6) setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &only, sizeof only);
  if (bind(socket.get(), where.ai_addr, where.ai_addrlen) != 0) return errno;
  return listen(socket.get(), backlog) == 0 ? 0 : errno;
}

std::string withoutBrackets(std::string_view address) {
  const bool inBrackets = address.starts_with('[') && address.ends_with(']') && isIpv6(std::string(address));
  return std::string(inBrackets ? address.substr(1, address.size() - 2) : address);
}

bool contains(const std::vector<std::string>& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// Whether another one of them serves it too.
bool isCovered(const std::string& address, const std::vector<std::string>& all) {
  const std::string every = isIpv6(address) ? "::" : "0.0.0.0";
  return address != every && contains(all, every);
}

// The value of an environment variable as a number; 0 for anything else.
long numberIn(const char* variable) {
  const char* text = std::getenv(variable);
  return text != nullptr ? std::strtol(text, nullptr, 10) : 0;
}

}  // namespace

// Numeric, since a name may resolve to a different address each time.
bool isListenAddress(std::string_view text) {
  const std::string given = withoutBrackets(text);
  const std::string address = given.substr(0, given.find('%'));
  in_addr ipv4;
  in6_addr ipv6;
  return given.find('\0') == std::string::npos && (inet_pton(AF_INET, address.c_str(), &ipv4) == 1 ||
                                                   inet_pton(AF_INET6, address.c_str(), &ipv6) == 1);
}

ListenSockets listenOn(const std::vector<std::string>& addresses, std::uint16_t port) {
  const bool byDefault = addresses.empty();
  std::vector<std::string> wanted = {"127.0.0.1", "::1"};
  if (!byDefault) {
    wanted.resize(addresses.size());
    std::transform(addresses.begin(), addresses.end(), wanted.begin(), withoutBrackets);
  }
  const bool ipv6Only =
      std::any_of(wanted.begin(), wanted.end(), [](const auto& one) { return !isIpv6(one); });
  ListenSockets result;
  for (const std::string& address : wanted) {
    if (isCovered(address, wanted)) continue;
    const Addresses found = resolve(address, port);
    if (!found) throwListenError(address, port, EADDRNOTAVAIL);
    if (contains(result.addresses, textOf(found->ai_addr, found->ai_addrlen))) continue;
    platform::OwnedDescriptor socket;
    const int error = listenAt(*found, ipv6Only, socket);
    const bool missing = error == EADDRNOTAVAIL || error == EAFNOSUPPORT;
    if (byDefault && isIpv6(address) && missing) continue;
    if (error != 0) throwListenError(address, port, error);
    if (port == 0) port = portOf(socket.get());
    add(result, std::move(socket));
  }
  return result;
}

std::vector<std::string> addressesToOpen(const std::vector<std::string>& listening,
                                         const std::vector<std::string>& ofMachine) {
  const bool ipv6Only =
      std::any_of(listening.begin(), listening.end(), [](const auto& one) { return one.front() != '['; });
  std::vector<std::string> result;
  for (const std::string& address : listening) {
    const std::size_t colon = address.rfind(':');
    const std::string host = address.substr(0, colon);
    const std::string port = address.substr(colon);
    if (host != "[::]" && host != "0.0.0.0") {
      result.push_back(address);
      continue;
    }
    const std::size_t before = result.size();
    for (const std::string& one : ofMachine) {
      if (isIpv6(one) && host == "[::]") result.push_back("[" + one + "]" + port);
      if (!isIpv6(one) && (host == "0.0.0.0" || !ipv6Only)) result.push_back(one + port);
    }
    if (result.size() == before) result.push_back("localhost" + port);
  }
  return result;
}

ListenSockets inheritedSockets() {
  const bool forUs = numberIn("LISTEN_PID") == getpid();
  const long count = forUs ? std::clamp<long>(numberIn("LISTEN_FDS"), 0, mostInheritedDescriptors) : 0;
  for (const char* variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) unsetenv(variable);
  ListenSockets result;
  for (int descriptor = firstInheritedDescriptor; descriptor < firstInheritedDescriptor + count;
       ++descriptor) {
    requireListening(descriptor);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    add(result, platform::OwnedDescriptor(descriptor));
  }
  return result;
}

void notifyReady() {
  const char* path = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address{};
  if (path == nullptr || std::strlen(path) >= sizeof address.sun_path) return;
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';  // an abstract name
  const platform::OwnedDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(path));
  // Without a notification, the service manager gives up on the service and reports that itself.
  [[maybe_unused]] const ssize_t sent =
      sendto(socket.get(), "READY=1", 7, MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&address), size);
}

}  // namespace frontend::share
