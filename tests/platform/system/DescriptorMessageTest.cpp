#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "DescriptorMessage.h"

namespace {

using namespace platform;

class MessageWithAFile : public testing::Test {
 protected:
  MessageWithAFile() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    here = OwnedDescriptor(ends[0]);
    there = OwnedDescriptor(ends[1]);
  }
  std::string receive() {
    std::array<char, 100> buffer;
    const ssize_t count = receiveMessage(there.get(), buffer.data(), buffer.size(), received);
    return count < 0 ? "failed" : std::string(buffer.data(), static_cast<std::size_t>(count));
  }

  OwnedDescriptor here;
  OwnedDescriptor there;
  OwnedDescriptor received;
};

OwnedDescriptor fileWith(const std::string& text) {
  OwnedDescriptor file(memfd_create("file", 0));
  EXPECT_EQ(pwrite(file.get(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  return file;
}

TEST_F(MessageWithAFile, CarriesACopyOfTheOpenFile) {
  EXPECT_EQ(sendMessage(here.get(), "read this", fileWith("page").get()), 0);
  EXPECT_EQ(receive(), "read this");
  std::array<char, 10> text;
  EXPECT_EQ(read(received.get(), text.data(), text.size()), 4);
  EXPECT_NE(fcntl(received.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(MessageWithAFile, MayCarryNone) {
  EXPECT_EQ(sendMessage(here.get(), "nothing to read", -1), 0);
  EXPECT_EQ(receive(), "nothing to read");
  EXPECT_EQ(received.get(), -1);
}

TEST_F(MessageWithAFile, LeavesOneDescriptorAtMostToItsReader) {
  const int three[] = {STDERR_FILENO, STDERR_FILENO, STDERR_FILENO};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof three)> attachment{};
  iovec text{const_cast<char*>("x"), 1};
  msghdr message{};
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  message.msg_control = attachment.data();
  message.msg_controllen = attachment.size();
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  *header = {CMSG_LEN(sizeof three), SOL_SOCKET, SCM_RIGHTS};
  std::memcpy(CMSG_DATA(header), three, sizeof three);
  const OwnedDescriptor next(dup(here.get()));
  ASSERT_EQ(sendmsg(here.get(), &message, 0), 1);
  EXPECT_EQ(receive(), "x");
  EXPECT_EQ(received.get(), next.get() + 1);
  const OwnedDescriptor afterwards(dup(here.get()));
  EXPECT_EQ(afterwards.get(), received.get() + 1);
}

TEST_F(MessageWithAFile, EndsWithItsConnection) {
  here.reset();
  EXPECT_EQ(receive(), "");
  EXPECT_EQ(sendMessage(there.get(), "gone", -1), EPIPE);
  there.reset();
  EXPECT_EQ(receive(), "failed");
}

}  // namespace
