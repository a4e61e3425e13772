#include "UsbipClient.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "UsbDeviceFramework.h"

namespace {

using Bytes = UsbipClient::Bytes;

constexpr std::size_t headerSize = 48;
constexpr std::size_t deviceSize = 312;
constexpr std::uint32_t importedDevice = 0x00010002;

void add32(Bytes& to, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) to.push_back(static_cast<std::uint8_t>(value >> shift & 0xFF));
}

std::uint32_t word(const Bytes& bytes, std::size_t index) {
  std::uint32_t value = 0;
  for (std::size_t at = index * 4; at < index * 4 + 4; ++at) value = value << 8 | bytes[at];
  return value;
}

int connectTo(std::uint16_t port, bool overIpv6) {
  const int number = socket(overIpv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(port);
  six.sin6_addr = in6addr_loopback;
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_port = htons(port);
  four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto* address =
      overIpv6 ? reinterpret_cast<const sockaddr*>(&six) : reinterpret_cast<const sockaddr*>(&four);
  const int result = connect(number, address, overIpv6 ? sizeof six : sizeof four);
  EXPECT_EQ(result, 0) << "port " << port << ": " << std::strerror(errno);
  const int on = 1;
  setsockopt(number, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return number;
}

}  // namespace

Bytes usbipSubmit(std::uint32_t sequenceNumber, std::uint8_t address, std::uint32_t length,
                  const Bytes& setup) {
  const bool isIn = platform::usb::isIn(address == 0 ? setup[0] : address);
  Bytes bytes;
  for (const std::uint32_t value : {1U, sequenceNumber, importedDevice, isIn ? 1U : 0U,
                                    std::uint32_t{platform::usb::endpointNumber(address)},
                                    /*flags*/ 0U, length, 0U, /*packets*/ 0xFFFFFFFFU, 0U})
    add32(bytes, value);
  bytes.insert(bytes.end(), setup.begin(), setup.end());
  return bytes;
}

Bytes usbipUnlink(std::uint32_t sequenceNumber, std::uint32_t target) {
  Bytes bytes;
  for (const std::uint32_t value : {2U, sequenceNumber, importedDevice, 0U, 0U, target}) add32(bytes, value);
  bytes.resize(headerSize);
  return bytes;
}

UsbipClient::UsbipClient(std::uint16_t port, bool overIpv6) : socket_(connectTo(port, overIpv6)) {}

UsbipClient::~UsbipClient() {
  close();
}

void UsbipClient::close() {
  if (socket_ >= 0) ::close(socket_);
  socket_ = -1;
}

void UsbipClient::send(const Bytes& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0) return;  // the server closed; what it sent before can still be read
    sent += static_cast<std::size_t>(count);
  }
}

Bytes UsbipClient::receive(std::size_t count) {
  Bytes bytes(count);
  std::size_t got = 0;
  while (got < count) {
    const ssize_t now = recv(socket_, bytes.data() + got, count - got, 0);
    if (now <= 0) break;
    got += static_cast<std::size_t>(now);
  }
  bytes.resize(got);
  return bytes;
}

std::optional<std::uint32_t> UsbipClient::import(const std::string& busId) {
  Bytes request{0x01, 0x11, 0x80, 0x03, 0, 0, 0, 0};
  request.insert(request.end(), busId.begin(), busId.end());
  request.resize(40);
  send(request);
  const Bytes header = receive(8);
  if (header.size() < 8) return std::nullopt;
  const std::uint32_t status = word(header, 1);
  if (status == 0 && receive(deviceSize).size() != deviceSize) return std::nullopt;
  return status;
}

void UsbipClient::submit(std::uint32_t sequenceNumber, std::uint8_t address, std::uint32_t capacity) {
  reading_.push_back(sequenceNumber);
  send(usbipSubmit(sequenceNumber, address, capacity));
}

void UsbipClient::submit(std::uint32_t sequenceNumber, std::uint8_t address, const Bytes& bytes) {
  Bytes request = usbipSubmit(sequenceNumber, address, static_cast<std::uint32_t>(bytes.size()));
  request.insert(request.end(), bytes.begin(), bytes.end());
  send(request);
}

void UsbipClient::submitControlRead(std::uint32_t sequenceNumber, const Bytes& setup,
                                    std::uint32_t capacity) {
  reading_.push_back(sequenceNumber);
  send(usbipSubmit(sequenceNumber, 0, capacity, setup));
}

void UsbipClient::unlink(std::uint32_t sequenceNumber, std::uint32_t target) {
  send(usbipUnlink(sequenceNumber, target));
}

UsbipClient::Reply UsbipClient::reply() {
  const Bytes header = receive(headerSize);
  if (header.size() < headerSize) return {};
  Reply reply{word(header, 0), word(header, 1), static_cast<int>(word(header, 5)), {}, 0};
  if (reply.command != 3) return reply;
  reply.moved = word(header, 6);
  const auto reading = std::find(reading_.begin(), reading_.end(), reply.sequenceNumber);
  if (reading == reading_.end()) return reply;
  reading_.erase(reading);
  reply.bytes = receive(reply.moved);
  return reply;
}
