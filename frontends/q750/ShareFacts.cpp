#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>

#include "NetworkAddresses.h"
#include "OwnedDescriptor.h"
#include "RegularFile.h"
#include "ShareCommand.h"
#include "ShareExamination.h"

namespace frontend {
namespace {

using TimePoint = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds longestConversation(500);

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

using Address = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

// Null if it is not a number.
Address addressOf(const std::string& host, std::uint16_t port) {
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) found = nullptr;
  return {found, freeaddrinfo};
}

// The beginning of the response of a server at this port of this machine; empty if none arrives in time.
std::string answerAt(int connection, TimePoint deadline) {
  constexpr std::string_view request = "GET /eSCL/ScannerCapabilities HTTP/1.0\r\nHost: localhost\r\n\r\n";
  if (send(connection, request.data(), request.size(), MSG_NOSIGNAL) < 0) return "";
  std::string answer;
  char part[4096];
  constexpr std::size_t enough = 64 * 1024;
  while (answer.size() < enough) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd arriving{connection, POLLIN, 0};
    if (left.count() <= 0 || poll(&arriving, 1, static_cast<int>(left.count())) <= 0) break;
    const ssize_t count = recv(connection, part, sizeof part, 0);
    if (count <= 0) break;
    answer.append(part, static_cast<std::size_t>(count));
  }
  return answer;
}

}  // namespace

SharePort whoServes(std::uint16_t port, const std::string& address) {
  const TimePoint deadline = std::chrono::steady_clock::now() + longestConversation;
  const Address source = addressOf(address, 0);
  const Address server = addressOf(address, port);
  if (!source || !server) return SharePort::unused;
  const platform::OwnedDescriptor connection(socket(server->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  // Only from and to an address of this machine.
  if (bind(connection.get(), source->ai_addr, source->ai_addrlen) != 0) return SharePort::unused;
  // For connecting too (socket(7)): a server whose queue is full leaves that unanswered.
  const timeval limit{0, std::chrono::microseconds(longestConversation).count()};
  setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  if (connect(connection.get(), server->ai_addr, server->ai_addrlen) != 0)
    return errno == EINPROGRESS || errno == EINTR ? SharePort::taken : SharePort::unused;
  const bool ours = answerAt(connection.get(), deadline).find("Quenvar Q750") != std::string::npos;
  return ours ? SharePort::shared : SharePort::taken;
}

ShareFacts takeShareFacts() {
  ShareFacts facts;
  facts.program = installedServer();
  if (facts.program.empty()) return facts;
  facts.settings = ShareSettings::parse(platform::readRegularFile(configuration, largestConfiguration).bytes);
  facts.port = whoServes(facts.settings.port, facts.settings.address);
  facts.avahi = exists(avahiSocket);
  facts.certificateThere = facts.settings.certificate.empty() || exists(facts.settings.certificate);
  facts.addresses = platform::networkAddresses();
  return facts;
}

}  // namespace frontend
