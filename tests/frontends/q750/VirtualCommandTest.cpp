#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "Confinement.h"
#include "RunningProgram.h"
#include "TemporaryFolder.h"
#include "UsbipClient.h"
#include "VirtualCommand.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(AttachText, NamesTheAddressAndTheTwoCommands) {
  EXPECT_EQ(frontend::attachText({"127.0.0.1", 3240}),
            "A virtual Q750 is listening on 127.0.0.1:3240. To attach it, run as root:\n"
            "  modprobe vhci-hcd\n"
            "  usbip attach -r 127.0.0.1 -b 1-1\n");
}

TEST(AttachText, NamesAPortThatIsNotTheUsualOne) {
  EXPECT_THAT(frontend::attachText({"::1", 40000}), HasSubstr(" is listening on [::1]:40000. "));
  EXPECT_THAT(frontend::attachText({"::1", 40000}),
              HasSubstr("  usbip --tcp-port 40000 attach -r ::1 -b 1-1\n"));
}

TEST(AttachText, NamesNoAddressThatNobodyCanConnectTo) {
  EXPECT_THAT(frontend::attachText({"0.0.0.0", 3240}), HasSubstr("attach -r HOST -b 1-1\n"));
  EXPECT_THAT(frontend::attachText({"::", 3240}), HasSubstr("attach -r HOST -b 1-1\n"));
}

// The server program on any free port.
class VirtualProgram : public testing::Test {
 protected:
  ~VirtualProgram() override {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitFor(process_);
    }
    for (const int end : {output_[0], errors_[0]}) close(end);
  }

  void start(std::vector<std::string> arguments = {}, const std::function<void()>& inChild = {}) {
    ASSERT_EQ(pipe2(output_, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(errors_, O_CLOEXEC), 0);
    arguments.insert(arguments.begin(), {"virtual", "--listen", "127.0.0.1:0"});
    process_ = startProgram(arguments, output_[1], errors_[1], inChild);
    close(output_[1]);
    close(errors_[1]);
    for (char character = 0; !printed_.ends_with("-b 1-1\n") && read(output_[0], &character, 1) == 1;)
      printed_ += character;
    const std::size_t colon = printed_.find("127.0.0.1:");
    ASSERT_NE(colon, std::string::npos) << printed_ << readAll(errors_[0]);
    port_ = static_cast<std::uint16_t>(std::stoi(printed_.substr(colon + 10)));
  }
  int end(int signal) {
    kill(process_, signal);
    const int code = waitFor(process_);
    process_ = 0;
    return code;
  }
  std::string errors() const { return readAll(errors_[0]); }

  std::string printed_;
  std::uint16_t port_ = 0;

  // A file of it that proc(5) describes.
  std::string processFile(const std::string& name) const {
    std::ifstream file("/proc/" + std::to_string(process_) + "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  pid_t process_ = 0;
  int output_[2] = {-1, -1};
  int errors_[2] = {-1, -1};
};

class Stopping : public VirtualProgram, public testing::WithParamInterface<int> {};

TEST_P(Stopping, EndsCleanly) {
  start();
  EXPECT_THAT(printed_,
              HasSubstr("usbip --tcp-port " + std::to_string(port_) + " attach -r 127.0.0.1 -b 1-1\n"));
  EXPECT_EQ(end(GetParam()), 0);
  EXPECT_EQ(errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, Stopping, testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(VirtualProgram, CutsTheClientOffAtItsEnd) {
  start();
  UsbipClient client(port_);
  ASSERT_EQ(client.import("1-1"), 0U);
  client.submit(1, 0x88, 512);
  EXPECT_EQ(end(SIGINT), 0);
  EXPECT_TRUE(client.isAtEnd());
  EXPECT_THAT(errors(), testing::MatchesRegex("q750: 127\\.0\\.0\\.1:[0-9]+ attached the scanner\n"));
}

TEST_F(VirtualProgram, LeavesItsClientsBehindWhenItIsKilled) {
  start();
  UsbipClient client(port_);
  ASSERT_EQ(client.import("1-1"), 0U);
  client.submit(1, 0x88, 512);
  EXPECT_EQ(end(SIGKILL), 128 + SIGKILL);
  EXPECT_TRUE(client.isAtEnd());
}

TEST_F(VirtualProgram, IsConfinedWhereTheSystemGrantsIt) {
  const bool filtered = platform::tryConfinement({}).systemCalls;
  start();
  EXPECT_THAT(processFile("status"), HasSubstr(filtered ? "Seccomp:\t2" : "Seccomp:"));
}

TEST_F(VirtualProgram, ClosesWhatItInherits) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
  start({}, [&ends] { fcntl(ends[1], F_SETFD, 0); });
  close(ends[1]);
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), 0) << "the end: nobody could write any more";
  close(ends[0]);
}

TEST_F(VirtualProgram, ForgetsItsEnvironment) {
  start({}, [] { setenv("A_PASSWORD", "secret", 1); });
  const std::string environment = processFile("environ");
  if (environment.empty()) GTEST_SKIP() << "only root may read it, because the program is confined";
  EXPECT_THAT(environment, Not(HasSubstr("secret")));
}

TEST_F(VirtualProgram, InjectsFaults) {
  start({"--virtual-fault", "stall:2"});
  UsbipClient client(port_);
  ASSERT_EQ(client.import("1-1"), 0U);
  client.submit(1, 0x02, UsbipClient::Bytes(8));
  EXPECT_EQ(client.reply().status, 0);
  client.submit(2, 0x02, UsbipClient::Bytes(8));
  EXPECT_EQ(client.reply().status, -EPIPE);
}

// A port of this machine that is in use while the object exists.
class TakenPort {
 public:
  TakenPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* any = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(socket_, any, length), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    EXPECT_EQ(getsockname(socket_, any, &length), 0);
    number_ = ntohs(address.sin_port);
  }
  ~TakenPort() { close(socket_); }
  TakenPort(const TakenPort&) = delete;
  TakenPort& operator=(const TakenPort&) = delete;
  std::string address() const { return "127.0.0.1:" + std::to_string(number_); }

 private:
  int socket_;
  std::uint16_t number_ = 0;
};

TEST(VirtualProgramFailing, ReportsWhyItCannotListen) {
  const TakenPort taken;
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string message;
  } cases[] = {
      {{"--listen", "3240"}, 1, "q750: --listen 3240: not an address. Use ADDRESS:PORT, as in 127.0."},
      {{"--listen", "::1:3240"}, 1, "q750: --listen ::1:3240: not an address."},
      {{"--listen", "192.0.2.1:0"}, 1, "q750: --listen 192.0.2.1:0: this machine has no such address."},
      {{"--listen", taken.address()}, 3, "q750: --listen " + taken.address() + ": in use by another program"},
      {{"--virtual-paper", "/nonexistent.png"}, 1, "q750: --virtual-paper: /nonexistent.png"},
      {{"--listen", "127.0.0.1:0", "--virtual-paper", "/etc/passwd"},
       1,
       "q750: --virtual-paper: /etc/passwd: is not a PNG, JPEG or PNM picture"},
      {{"--virtual-fault", "fire"}, 1, "q750: --virtual-fault fire: unknown fault."},
  };
  for (const auto& one : cases) {
    std::vector<std::string> arguments{"virtual"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const ProgramResult result = runProgram(arguments);
    EXPECT_EQ(result.exitCode, one.exitCode) << result.errors;
    EXPECT_THAT(result.errors, StartsWith(one.message));
    EXPECT_EQ(result.output, "");
  }
}

TEST(VirtualProgramFailing, ReportsAClosedStandardOutput) {
  const ProgramResult result =
      runProgram({"virtual", "--listen", "127.0.0.1:0"}, [] { close(STDOUT_FILENO); });
  EXPECT_EQ(result.exitCode, 9);
}

// Only root has that right by default.
void giveUpRightToAnyPort() {
  if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, CAP_NET_BIND_SERVICE) != 0) _exit(77);
}

TEST(VirtualProgramFailing, ReportsAPortThatThisUserMayNotUse) {
  const std::string firstFreePort = contentOf("/proc/sys/net/ipv4/ip_unprivileged_port_start");
  if (firstFreePort == "0\n" || firstFreePort == "1\n")
    GTEST_SKIP() << "every port is for everyone on this machine";
  const ProgramResult result = runProgram({"virtual", "--listen", "127.0.0.1:1"}, giveUpRightToAnyPort);
  EXPECT_EQ(result.exitCode, 4) << result.errors;
  EXPECT_EQ(result.errors,
            "q750: --listen 127.0.0.1:1: you may not listen on this port. Choose a port above 1023.\n");
}

}  // namespace
