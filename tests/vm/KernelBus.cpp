#include "KernelBus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "UsbipConnection.h"

namespace {

using platform::OwnedDescriptor;

constexpr char controller[] = "/sys/devices/platform/vhci_hcd.0/";
constexpr char device[] = "/sys/bus/usb/devices/1-1";
constexpr char interface[] = "/sys/bus/usb/devices/1-1:1.0";
constexpr int highSpeed = 3;

// The kernel does not report completion, so this polls.
bool await(const std::function<bool()>& condition) {
  for (int look = 0; look < 2000; ++look) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

// Each line has port, number, state and more; 004 is the state of a free port.
bool firstPortIsFree() {
  std::ifstream status(std::string(controller) + "status");
  std::string hub, number, state;
  while (status >> hub >> number >> state) {
    if (hub == "hs" && number == "0000") return state == "004";
    status.ignore(1000, '\n');
  }
  return false;
}

bool sendAll(int socket, virtualscanner::UsbipConnection& connection) {
  while (!connection.output().empty()) {
    const auto output = connection.output();
    const ssize_t count = send(socket, output.data(), output.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    connection.sent(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

void KernelBus::plugIn() {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0) << std::strerror(errno);
  socket_ = OwnedDescriptor(ends[0]);
  const OwnedDescriptor kernels(ends[1]);  // which takes a reference of its own
  thread_ = std::thread([this] { serve(); });
  ASSERT_TRUE(await(firstPortIsFree));
  std::ofstream attach(std::string(controller) + "attach");
  attach << 0 << ' ' << kernels.get() << ' ' << virtualscanner::usbip::deviceId << ' ' << highSpeed
         << std::flush;
  ASSERT_TRUE(attach.good()) << "the kernel did not take the device";
  ASSERT_TRUE(await([] { return std::filesystem::exists(interface); })) << "the kernel found no scanner";
}

void KernelBus::pull() {
  if (socket_.get() >= 0) shutdown(socket_.get(), SHUT_RDWR);
}

void KernelBus::unplug() {
  last_ = 0;
  if (!thread_.joinable()) return;
  pull();
  thread_.join();
  socket_ = OwnedDescriptor();
  EXPECT_TRUE(await([] { return !std::filesystem::exists(device) && firstPortIsFree(); }));
}

void KernelBus::pullAt(int reception) {
  last_ = receptions_ + reception;
}

void KernelBus::withScanner(const std::function<void(virtualscanner::VirtualScanner&)>& work) {
  const std::lock_guard lock(mutex_);
  work(scanner_);
}

std::string KernelBus::attribute(const std::string& name) {
  std::ifstream file(std::string(device) + "/" + name);
  std::string text;
  std::getline(file, text);
  return text;
}

// Until either side closes.
void KernelBus::serve() {
  virtualscanner::UsbipPort port(scanner_);
  std::optional<virtualscanner::UsbipConnection> connection;
  {
    const std::lock_guard lock(mutex_);
    connection.emplace(port);
    EXPECT_TRUE(connection->attach());
  }
  std::array<std::uint8_t, 65536> bytes;
  for (;;) {
    const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count <= 0 || ++receptions_ == last_) break;
    const std::lock_guard lock(mutex_);
    connection->receive(std::span(bytes).first(static_cast<std::size_t>(count)));
    if (!sendAll(socket_.get(), *connection) || connection->hasEnded()) break;
  }
  EXPECT_EQ(connection->complaint(), "");
  pull();
  const std::lock_guard lock(mutex_);
  connection.reset();
}
