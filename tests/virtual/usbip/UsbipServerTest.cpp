#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <memory>
#include <system_error>
#include <thread>

#include "DeviceHost.h"
#include "UsbipClient.h"
#include "UsbipServer.h"

namespace virtualscanner {
namespace {

using testing::ElementsAre;

const PageRequest page{75, true, 40, 90, 161, 137};

// The host's side of a scan over a USB/IP client. A read returns at once what the device has: the request is
// cancelled immediately afterwards.
class WireHost {
 public:
  explicit WireHost(UsbipClient& client) : client_(client) {}

  DeviceHost::Pipes pipes() {
    return {[this](std::uint8_t address, const std::uint8_t* bytes, std::size_t count) {
              client_.submit(++number_, address, UsbipClient::Bytes(bytes, bytes + count));
              const UsbipClient::Reply reply = client_.reply();
              return Transfer{statusOf(reply.status), reply.moved, true};
            },
            [this](std::uint8_t address, std::uint8_t* buffer, std::size_t capacity) {
              return read(address, buffer, capacity);
            }};
  }

 private:
  static TransferStatus statusOf(int status) {
    if (status == 0 || status == -ECONNRESET) return TransferStatus::done;  // with the bytes moved until then
    return status == -EPIPE ? TransferStatus::halted : TransferStatus::gone;
  }

  Transfer read(std::uint8_t address, std::uint8_t* buffer, std::size_t capacity) {
    const std::uint32_t read = ++number_;
    client_.submit(read, address, static_cast<std::uint32_t>(capacity));
    client_.unlink(++number_, read);
    UsbipClient::Reply reply = client_.reply();
    if (reply.command == 4) return {TransferStatus::silent};
    std::copy(reply.bytes.begin(), reply.bytes.end(), buffer);
    if (reply.command == 3) client_.reply();  // of the unlinking
    return {statusOf(reply.status), reply.moved, true};
  }

  UsbipClient& client_;
  std::uint32_t number_ = 0;
};

// A server on a separate thread while the object exists.
class RunningServer {
 public:
  explicit RunningServer(VirtualScanner& scanner, const ListenAddress& address = {"127.0.0.1", 0})
      : server_(scanner, address, [this](const std::string& sentence) { note(sentence); }) {
    EXPECT_EQ(pipe2(stop_, O_CLOEXEC), 0);
    thread_ = std::thread([this] { server_.run(stop_[0]); });
  }
  ~RunningServer() {
    stop();
    close(stop_[0]);
  }
  RunningServer(const RunningServer&) = delete;
  RunningServer& operator=(const RunningServer&) = delete;

  void stop() {
    if (!thread_.joinable()) return;
    close(stop_[1]);
    thread_.join();
  }
  std::uint16_t port() const { return server_.address().port; }
  ListenAddress address() const { return server_.address(); }
  // What the server's thread has used so far.
  std::chrono::nanoseconds processorTime() {
    clockid_t clock{};
    timespec time{};
    pthread_getcpuclockid(thread_.native_handle(), &clock);
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }
  // What was noted, without the clients' addresses. Of a stopped server.
  std::vector<std::string> notes() const {
    std::vector<std::string> shortened;
    for (const std::string& sentence : notes_) shortened.push_back(sentence.substr(sentence.find(' ') + 1));
    return shortened;
  }

 private:
  void note(const std::string& sentence) { notes_.push_back(sentence); }

  std::vector<std::string> notes_;
  UsbipServer server_;
  int stop_[2] = {-1, -1};
  std::thread thread_;
};

class UsbipServer : public testing::Test {
 protected:
  std::vector<std::uint8_t> scanThrough(UsbipClient& client) {
    WireHost wire(client);
    DeviceHost host(wire.pipes());
    if (!host.startJob(page)) return {};
    std::vector<std::uint8_t> image = imageOf(host.readStream(10240));
    EXPECT_EQ(host.call(host.jobName() + ".scanJob", "done"), "response 0");
    EXPECT_EQ(host.exit(), "response 0");
    return image;
  }

  static constexpr std::size_t oneDevice = 12 + 312 + 4;
  static UsbipClient::Bytes list(const RunningServer& server) {
    UsbipClient client(server.port());
    client.send({0x01, 0x11, 0x80, 0x05, 0, 0, 0, 0});
    return client.receive(1000);
  }

  VirtualScanner scanner;
};

TEST_F(UsbipServer, CarriesAWholeScan) {
  RunningServer server(scanner);
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page));
  EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page)) << "again";
}

TEST_F(UsbipServer, ServesOneClientAfterAnother) {
  RunningServer server(scanner);
  for (int turn = 0; turn < 3; ++turn) {
    UsbipClient client(server.port());
    ASSERT_EQ(client.import("1-1"), 0U);
    EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page));
    UsbipClient waiting(server.port());
    EXPECT_EQ(waiting.import("1-1"), 2U) << "busy";
    EXPECT_TRUE(waiting.isAtEnd());
    client.submit(1000, dataEndpoint, 512);
    client.close();
    EXPECT_EQ(list(server).size(), oneDevice) << "free again";
  }
  server.stop();
  EXPECT_THAT(server.notes(), testing::SizeIs(6));
}

TEST_F(UsbipServer, ListsTheDeviceToEveryClient) {
  RunningServer server(scanner);
  EXPECT_EQ(list(server).size(), oneDevice);
}

TEST_F(UsbipServer, DisconnectsAClientThatViolatesTheProtocolAndGoesOn) {
  RunningServer server(scanner);
  UsbipClient web(server.port());
  web.send({'G', 'E', 'T', ' ', '/', '\r', '\n', '\r', '\n'});
  EXPECT_TRUE(web.isAtEnd());
  {
    UsbipClient broken(server.port());
    ASSERT_EQ(broken.import("1-1"), 0U);
    broken.send(UsbipClient::Bytes(48, 0xFF));
    EXPECT_TRUE(broken.isAtEnd());
  }
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page));
  server.stop();
  EXPECT_THAT(server.notes(), ElementsAre("violated the protocol: a protocol version other than 1.1.1",
                                          "attached the scanner", "violated the protocol: an unknown command",
                                          "detached the scanner", "attached the scanner"));
}

TEST_F(UsbipServer, DisconnectsTheClientWhenTheDeviceIsGone) {
  scanner.setFaults({{FaultKind::unplug, 1}});
  RunningServer server(scanner);
  {
    UsbipClient client(server.port());
    ASSERT_EQ(client.import("1-1"), 0U);
    client.submit(1, dataEndpoint, 512);
    EXPECT_EQ(client.reply().status, -ESHUTDOWN);
    EXPECT_TRUE(client.isAtEnd());
  }
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page)) << "plugged in again";
}

TEST_F(UsbipServer, CutsTheClientOffWhenItIsStoppedInTheMiddleOfATransfer) {
  RunningServer server(scanner);
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  client.submit(1, dataEndpoint, 512);
  client.send({0, 0, 0, 1});
  UsbipClient silent(server.port());
  server.stop();
  EXPECT_TRUE(client.isAtEnd());
  EXPECT_TRUE(silent.isAtEnd());
  EXPECT_FALSE(scanner.pluggedIn());
}

TEST_F(UsbipServer, KeepsNoPlaceForThoseWhoAskNothing) {
  RunningServer server(scanner);
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  std::vector<std::unique_ptr<UsbipClient>> idle;
  for (int i = 0; i < 20; ++i) idle.push_back(std::make_unique<UsbipClient>(server.port()));
  UsbipClient last(server.port());
  EXPECT_EQ(last.import("1-1"), 2U);
  EXPECT_TRUE(idle.front()->isAtEnd());
  EXPECT_EQ(scanThrough(client), expectedImage(*Paper::testChart(), page));
}

TEST_F(UsbipServer, WaitsForAClientThatDoesNotRead) {
  RunningServer server(scanner);
  UsbipClient client(server.port());
  ASSERT_EQ(client.import("1-1"), 0U);
  WireHost wire(client);
  DeviceHost host(wire.pipes());
  const PageRequest large{300, true, 0, 0, 1000, 2000};
  ASSERT_TRUE(host.startJob(large));
  constexpr std::uint32_t reads = 390, first = 1000, size = 15360;
  for (std::uint32_t number = 0; number < reads; ++number) client.submit(first + number, dataEndpoint, size);
  std::vector<std::uint8_t> stream;
  for (std::uint32_t number = 0; number < reads; ++number) {
    const UsbipClient::Reply reply = client.reply();
    ASSERT_EQ(reply.sequenceNumber, first + number);
    ASSERT_EQ(reply.moved, size);
    stream.insert(stream.end(), reply.bytes.begin(), reply.bytes.end());
  }
  const std::vector<std::uint8_t> rest = host.readStream();
  stream.insert(stream.end(), rest.begin(), rest.end());
  VirtualScanner other;
  DeviceHost direct(other);
  ASSERT_TRUE(direct.startJob(large));
  EXPECT_TRUE(stream == direct.readStream());
}

// As many descriptors as this process has now, and one more, while the object exists.
class OneMoreDescriptor {
 public:
  OneMoreDescriptor() {
    const int next = dup(STDERR_FILENO);
    close(next);
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit limit{static_cast<rlim_t>(next) + 1, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~OneMoreDescriptor() { setrlimit(RLIMIT_NOFILE, &before_); }
  OneMoreDescriptor(const OneMoreDescriptor&) = delete;
  OneMoreDescriptor& operator=(const OneMoreDescriptor&) = delete;

 private:
  rlimit before_{};
};

// A connection that cannot be accepted stays ready, so that poll() would return at once, again and again.
TEST_F(UsbipServer, TriesAgainLaterWhereItHasNoDescriptorForAClient) {
  RunningServer server(scanner);
  auto limit = std::make_unique<OneMoreDescriptor>();
  UsbipClient client(server.port());
  usleep(200'000);  // in which it needs next to no processor time
  EXPECT_LT(server.processorTime(), std::chrono::milliseconds(100));
  limit.reset();
  EXPECT_EQ(client.import("1-1"), 0U);
}

TEST_F(UsbipServer, ListensAtAnIpv6Address) {
  std::unique_ptr<RunningServer> server;
  try {
    server = std::make_unique<RunningServer>(scanner, ListenAddress{"::1", 0});
  } catch (const std::system_error& error) {
    GTEST_SKIP() << "this machine has no IPv6: " << error.what();
  }
  EXPECT_THAT(textOf(server->address()), testing::StartsWith("[::1]:"));
  UsbipClient client(server->port(), /*overIpv6=*/true);
  EXPECT_EQ(client.import("1-1"), 0U);
}

int errorListeningAt(VirtualScanner& scanner, const ListenAddress& address) {
  try {
    const virtualscanner::UsbipServer server(scanner, address);
    return 0;
  } catch (const std::system_error& error) {
    return error.code().value();
  }
}

TEST_F(UsbipServer, ReportsWhyItCannotListen) {
  const RunningServer server(scanner);
  EXPECT_EQ(errorListeningAt(scanner, server.address()), EADDRINUSE);
  EXPECT_EQ(errorListeningAt(scanner, {"192.0.2.1", 0}), EADDRNOTAVAIL);
  EXPECT_EQ(errorListeningAt(scanner, {"no such name", 0}), EADDRNOTAVAIL);
}

TEST_F(UsbipServer, ListensAgainRightAfterItsEnd) {
  ListenAddress address;
  {
    RunningServer server(scanner);
    address = server.address();
    UsbipClient client(server.port());
    ASSERT_EQ(client.import("1-1"), 0U);
    server.stop();  // the server's end of the connection is the one that lingers
  }
  EXPECT_EQ(errorListeningAt(scanner, address), 0);
}

}  // namespace
}  // namespace virtualscanner
