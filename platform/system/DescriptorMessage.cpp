#include "DescriptorMessage.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace platform {
namespace {

// Room for one descriptor, aligned as the system requires. The system closes those that do not fit.
union Attachment {
  cmsghdr header;
  char bytes[CMSG_SPACE(sizeof(int))];
};

msghdr messageOf(iovec& text, Attachment& attachment) {
  msghdr message{};
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  message.msg_control = attachment.bytes;
  message.msg_controllen = CMSG_LEN(sizeof(int));  // the space has room for a second one on some machines
  return message;
}

}  // namespace

int sendMessage(int socket, std::string_view text, int descriptor) noexcept {
  iovec part{const_cast<char*>(text.data()), text.size()};
  Attachment attachment{};
  msghdr message = messageOf(part, attachment);
  if (descriptor >= 0) {
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  } else {
    message.msg_control = nullptr;
    message.msg_controllen = 0;
  }
  return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) < 0 ? errno : 0;
}

ssize_t receiveMessage(int socket, char* buffer, std::size_t capacity, OwnedDescriptor& descriptor) noexcept {
  iovec part{buffer, capacity};
  Attachment attachment{};
  msghdr message = messageOf(part, attachment);
  ssize_t count = 0;
  do {
    count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  } while (count < 0 && errno == EINTR);
  if (count < 0) return count;
  const cmsghdr* header = CMSG_FIRSTHDR(&message);
  if (header != nullptr && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS) {
    int received = -1;
    std::memcpy(&received, CMSG_DATA(header), sizeof received);
    descriptor = OwnedDescriptor(received);
  }
  return count;
}

}  // namespace platform
