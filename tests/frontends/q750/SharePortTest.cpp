#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "OwnedDescriptor.h"
#include "ShareExamination.h"

namespace {

using frontend::SharePort;
using frontend::whoServes;
using platform::OwnedDescriptor;

// A server at a free port of the loopback address.
class AServer : public testing::Test {
 protected:
  AServer() {
    sockaddr_in address = addressOf(0);
    socklen_t size = sizeof address;
    auto* const place = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(server.get(), place, size), 0);
    EXPECT_EQ(listen(server.get(), 0), 0);
    EXPECT_EQ(getsockname(server.get(), place, &size), 0);
    port = ntohs(address.sin_port);
  }
  static sockaddr_in addressOf(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
  }
  // Sends the pieces, a tenth of a second apart, to a client that stays connected for that long. Returns how
  // many it accepted.
  std::size_t serve(const std::vector<std::string>& pieces) const {
    const OwnedDescriptor client(accept4(server.get(), nullptr, nullptr, SOCK_CLOEXEC));
    std::size_t sent = 0;
    for (const std::string& piece : pieces) {
      if (send(client.get(), piece.data(), piece.size(), MSG_NOSIGNAL) < 0) break;
      ++sent;
      poll(nullptr, 0, 100);
    }
    return sent;
  }

  OwnedDescriptor server{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
  std::uint16_t port = 0;
};

TEST_F(AServer, IsRecognisedByWhatItShares) {
  for (const auto& [answer, who] : {std::pair{"HTTP/1.0 200 OK\r\n\r\nQuenvar Q750", SharePort::shared},
                                    {"HTTP/1.0 404 Not Found\r\n\r\n", SharePort::taken}}) {
    std::thread serving([&, text = std::string(answer)] { serve({text}); });
    EXPECT_EQ(whoServes(port), who) << answer;
    serving.join();
  }
  server.reset();
  EXPECT_EQ(whoServes(port), SharePort::unused);
}

TEST(AServerElsewhere, IsAskedAtItsAddressWhereThatIsOneOfThisMachine) {
  const OwnedDescriptor server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  socklen_t size = sizeof address;
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
  ASSERT_EQ(bind(server.get(), place, size), 0);
  ASSERT_EQ(listen(server.get(), 1), 0);
  ASSERT_EQ(getsockname(server.get(), place, &size), 0);
  EXPECT_EQ(whoServes(ntohs(address.sin_port)), SharePort::unused);
  EXPECT_EQ(whoServes(ntohs(address.sin_port), "127.0.0.2"), SharePort::taken);
  EXPECT_EQ(whoServes(ntohs(address.sin_port), "192.0.2.1"), SharePort::unused);
  EXPECT_EQ(whoServes(ntohs(address.sin_port), "nowhere"), SharePort::unused);
}

// Each byte on its own would be in time.
TEST_F(AServer, IsAskedForHalfASecondHoweverItDrips) {
  std::size_t sent = 0;
  std::thread serving([&] { sent = serve(std::vector<std::string>(30, "x")); });
  EXPECT_EQ(whoServes(port), SharePort::taken);
  serving.join();
  EXPECT_LT(sent, 30U);
}

// The system leaves further connections unanswered for minutes.
TEST_F(AServer, IsNotWaitedForWhereItAcceptsNobody) {
  std::vector<OwnedDescriptor> waiting;
  const sockaddr_in address = addressOf(port);
  for (int i = 0; i < 3; ++i) {
    waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    connect(waiting.back().get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }
  EXPECT_EQ(whoServes(port), SharePort::taken);
}

}  // namespace
