// One scanner on USB, and every kind of program that uses it at the same time.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <regex>
#include <string>

#include "UsbCommandLine.h"

namespace {

using namespace virtualscanner;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char ticket[] =
    "<scan:ScanSettings xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\" "
    "xmlns:scan=\"http://schemas.hp.com/imaging/escl/2011/05/03\">"
    "<scan:ColorMode>Grayscale8</scan:ColorMode><scan:XResolution>75</scan:XResolution>"
    "<scan:YResolution>75</scan:YResolution></scan:ScanSettings>";

// A program that scans from the scanner at port 1-1 into the path that follows.
struct Program {
  const char* name;
  const char* command;
};
// Of q750, and of scanimage, where it is SANE_STATUS_DEVICE_BUSY.
constexpr int exitCodeOfBusy = 3;

void PrintTo(const Program& program, std::ostream* out) {
  *out << program.name;
}

const Program programs[] = {
    {"q750", Q750_PROGRAM " scan -d usb:1-1 -r 75 -m gray -q -o "},
#ifdef Q750_SCANIMAGE
    {"scanimage", "env LD_LIBRARY_PATH=" Q750_SANE_FOLDER " " Q750_SCANIMAGE
                  " -d quenvar:usb:1-1 --resolution 75 --mode Gray --format=pnm -o "},
#endif
};

// The network server and another program, on one scanner that sends no page until repair().
class SharedScanner : public UsbCommandLine, public testing::WithParamInterface<Program> {
 protected:
  SharedScanner() {
    writeContent(configuration_ / "dll.conf", "quenvar\n");
    setenv("SANE_CONFIG_DIR", configuration_.path().c_str(), 1);
    plugIn({}, {{FaultKind::silence, 0}});
    server_ =
        startProgram({"share", "-d", "usb", "--port", "0"}, serverOut_.writer(), serverErrors_.writer());
    const std::string address = serverOut_.readThrough("\n");
    std::smatch port;
    if (std::regex_search(address, port, std::regex("http://127.0.0.1:([0-9]+)/")))
      port_ = static_cast<std::uint16_t>(std::stoi(port[1]));
    EXPECT_NE(port_, 0) << address;
  }
  ~SharedScanner() override {
    kill(server_, SIGINT);
    EXPECT_EQ(waitFor(server_), 0);
    unsetenv("SANE_CONFIG_DIR");
  }

  // The whole response of the server.
  std::string request(const std::string& methodAndPath, const std::string& body = "") const {
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const std::string message = methodAndPath + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" +
                                "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    EXPECT_EQ(send(client, message.data(), message.size(), 0), static_cast<ssize_t>(message.size()));
    const std::string response = readAll(client);
    close(client);
    return response;
  }
  // The path of the job that a response announces.
  static std::string jobOf(const std::string& response) {
    std::smatch job;
    return std::regex_search(response, job, std::regex("Location: [^/\r]*(/[^\r]*)")) ? job[1].str() : "";
  }

  pid_t startOther() {
    const pid_t process = fork();
    if (process != 0) return process;
    dup2(otherErrors_.writer(), STDERR_FILENO);
    std::signal(SIGINT, SIG_DFL);
    const std::string command = "exec " + (GetParam().command + path);
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
  }

 private:
  TemporaryFolder configuration_;
  Pipe serverOut_, serverErrors_, otherErrors_;
  pid_t server_ = -1;
  std::uint16_t port_ = 0;
};

TEST_P(SharedScanner, IsBusyForClientsWhileAProgramScans) {
  const pid_t other = startOther();
  usbfs_->awaitRequest();
  const std::string refused = request("POST /eSCL/ScanJobs", ticket);
  EXPECT_THAT(refused, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(refused, HasSubstr("\r\nRetry-After: 2\r\n"));
  EXPECT_THAT(refused, HasSubstr("another program"));

  kill(other, SIGINT);
  waitFor(other);
  repair();
  const std::string accepted = request("POST /eSCL/ScanJobs", ticket);
  EXPECT_THAT(accepted, StartsWith("HTTP/1.1 201 "));
  EXPECT_THAT(request("GET " + jobOf(accepted) + "/NextDocument"), StartsWith("HTTP/1.1 200 "));
}

TEST_P(SharedScanner, IsBusyForAProgramWhileAClientScans) {
  const std::string job = jobOf(request("POST /eSCL/ScanJobs", ticket));
  ASSERT_NE(job, "");
  usbfs_->awaitRequest();
  EXPECT_EQ(waitFor(startOther()), exitCodeOfBusy);

  EXPECT_THAT(request("DELETE " + job), StartsWith("HTTP/1.1 200 "));
  repair();
  EXPECT_EQ(waitFor(startOther()), 0);
  expectWholePage();
}

INSTANTIATE_TEST_SUITE_P(Programs, SharedScanner, testing::ValuesIn(programs),
                         [](const auto& program) { return std::string(program.param.name); });

}  // namespace
