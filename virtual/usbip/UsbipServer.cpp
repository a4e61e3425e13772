#include "UsbipServer.h"

#include <netdb.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <memory>
#include <system_error>

namespace virtualscanner {
namespace {

constexpr std::size_t mostClients = 8;
constexpr int backlog = 64;
constexpr std::size_t readSize = std::size_t{64} * 1024;
constexpr int mostReads = 16;
constexpr int pauseMs = 100;  // of accepting

[[noreturn]] void fail(int error) {
  throw std::system_error(error, std::generic_category());
}

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList lookUp(const ListenAddress& address) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &wanted, &found);
  if (error == EAI_SYSTEM) fail(errno);
  if (error == EAI_MEMORY) throw std::bad_alloc();
  if (error != 0) fail(EADDRNOTAVAIL);
  return {found, freeaddrinfo};
}

void setOption(int socket, int level, int option) {
  const int on = 1;
  setsockopt(socket, level, option, &on, sizeof on);
}

ListenAddress numeric(const sockaddr_storage& address, socklen_t length) {
  char host[NI_MAXHOST] = "";
  char port[NI_MAXSERV] = "";
  getnameinfo(reinterpret_cast<const sockaddr*>(&address), length, host, sizeof host, port, sizeof port,
              NI_NUMERICHOST | NI_NUMERICSERV);
  return {host, static_cast<std::uint16_t>(std::stoi(std::string("0") + port))};
}

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

UsbipServer::UsbipServer(VirtualScanner& scanner, const ListenAddress& address, Log log)
    : UsbipServer(scanner, listenAt(address), std::move(log)) {}

UsbipServer::UsbipServer(VirtualScanner& scanner, platform::OwnedDescriptor listener, Log log)
    : port_(scanner), log_(std::move(log)), listener_(std::move(listener)) {}

platform::OwnedDescriptor UsbipServer::listenAt(const ListenAddress& address) {
  const AddressList found = lookUp(address);
  platform::OwnedDescriptor listener(socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (listener.get() < 0) fail(errno);
  // Otherwise a restarted server could not listen until the last connection of the old one has timed out.
  setOption(listener.get(), SOL_SOCKET, SO_REUSEADDR);
  if (bind(listener.get(), found->ai_addr, found->ai_addrlen) != 0 || listen(listener.get(), backlog) != 0)
    fail(errno);
  return listener;
}

ListenAddress UsbipServer::address() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length);
  return numeric(address, length);
}

void UsbipServer::run(int stop) {
  for (;;) {
    std::vector<pollfd> awaited = whatToAwait(stop);
    const int ready = poll(awaited.data(), awaited.size(), acceptPaused_ ? pauseMs : -1);
    if (ready < 0 && errno != EINTR) fail(errno);
    if (ready == 0) acceptPaused_ = false;
    if (ready <= 0) continue;
    if (awaited[0].revents != 0) break;
    auto events = awaited.begin() + 2;
    for (auto client = clients_.begin(); client != clients_.end(); ++events) {
      serve(*client, events->revents);
      // Immediately, so that the device is free for the next client.
      client = client->gone ? drop(client) : std::next(client);
    }
    if (awaited[1].revents != 0) accept();
  }
  clients_.clear();
  listener_ = platform::OwnedDescriptor();
}

// In the order that run() expects: the stop descriptor, the listener, then the clients.
std::vector<pollfd> UsbipServer::whatToAwait(int stop) const {
  std::vector<pollfd> awaited{{stop, POLLIN, 0}, {acceptPaused_ ? -1 : listener_.get(), POLLIN, 0}};
  for (const Client& client : clients_) {
    int events = client.connection.wantsInput() ? POLLIN : 0;
    if (!client.connection.output().empty()) events |= POLLOUT;
    awaited.push_back({client.socket.get(), static_cast<short>(events), 0});
  }
  return awaited;
}

void UsbipServer::accept() {
  makeRoom();
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  platform::OwnedDescriptor accepted(
      accept4(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (accepted.get() < 0) {
    // Paused, for the connection stays ready. Any other failure concerns only this client.
    acceptPaused_ = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    return;
  }
  setOption(accepted.get(), IPPROTO_TCP, TCP_NODELAY);
  // A client whose machine lost power must not keep the device.
  setOption(accepted.get(), SOL_SOCKET, SO_KEEPALIVE);
  clients_.emplace_back(std::move(accepted), textOf(numeric(address, length)), port_);
}

// The oldest client that has not attached the device makes room for a new one.
void UsbipServer::makeRoom() {
  if (clients_.size() < mostClients) return;
  const auto idle = std::find_if(clients_.begin(), clients_.end(),
                                 [](const Client& client) { return !client.connection.isAttached(); });
  if (idle != clients_.end()) clients_.erase(idle);
}

void UsbipServer::serve(Client& client, short events) {
  if ((events & (POLLERR | POLLNVAL)) != 0) client.gone = true;
  if (!client.gone && (events & (POLLIN | POLLHUP)) != 0) receive(client);
  if (!client.gone && !client.connection.output().empty()) send(client);
  reportAttachment(client);
  const UsbipConnection& connection = client.connection;
  if (connection.hasEnded() && (connection.output().empty() || !connection.complaint().empty()))
    client.gone = true;
}

// Reads what has arrived, up to a limit, to detect a closed connection behind it.
void UsbipServer::receive(Client& client) {
  std::vector<std::uint8_t> bytes(readSize);
  for (int turn = 0; turn < mostReads && client.connection.wantsInput(); ++turn) {
    const ssize_t count = recv(client.socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
      client.connection.receive(std::span(bytes).first(static_cast<std::size_t>(count)));
    } else {
      client.gone = count == 0 || !wouldBlock(errno);
      return;
    }
  }
}

void UsbipServer::send(Client& client) {
  const auto output = client.connection.output();
  const ssize_t count = ::send(client.socket.get(), output.data(), output.size(), MSG_NOSIGNAL);
  if (count > 0) {
    client.connection.sent(static_cast<std::size_t>(count));
  } else if (count < 0 && !wouldBlock(errno)) {
    client.gone = true;
  }
}

void UsbipServer::reportAttachment(Client& client) {
  if (client.connection.isAttached() && !client.wasAttached) {
    client.wasAttached = true;
    log(client.peer + " attached the scanner");
  }
}

std::list<UsbipServer::Client>::iterator UsbipServer::drop(std::list<Client>::iterator client) {
  const std::string& complaint = client->connection.complaint();
  if (!complaint.empty()) log(client->peer + " violated the protocol: " + complaint);
  if (client->wasAttached) log(client->peer + " detached the scanner");
  acceptPaused_ = false;
  return clients_.erase(client);
}

}  // namespace virtualscanner
