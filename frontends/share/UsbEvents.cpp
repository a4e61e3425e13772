#include "UsbEvents.h"

#include <linux/netlink.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

namespace frontend::share {
namespace {

using namespace std::string_view_literals;

// The kernel's message arrives first, and also without udev, as in containers. That of udev follows
// once its rules have been applied: a scanner that was listed without access is accessible from then on.
constexpr unsigned kernelGroup = 1;
constexpr unsigned udevGroup = 2;

// One message, and whether it may concern a USB device; nothing if none has arrived.
std::optional<bool> takeOne(int descriptor) {
  std::array<char, 8192> buffer;  // four times the kernel's longest
  iovec piece{buffer.data(), buffer.size()};
  sockaddr_nl sender{};
  msghdr message{};
  message.msg_name = &sender;
  message.msg_namelen = sizeof sender;
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  const ssize_t size = recvmsg(descriptor, &message, MSG_DONTWAIT);
  // ENOBUFS: messages were lost.
  if (size < 0) return errno == ENOBUFS ? std::optional(true) : std::nullopt;
  // Any program may send to this socket alone; only privileged ones reach a group.
  if (sender.nl_groups == 0) return false;
  if ((message.msg_flags & MSG_TRUNC) != 0) return true;
  return concernsUsbDevice({buffer.data(), static_cast<std::size_t>(size)});
}

}  // namespace

bool concernsUsbDevice(std::string_view message) {
  return message.find("\0DEVTYPE=usb_device\0"sv) != std::string_view::npos;
}

UsbEvents::UsbEvents()
    : socket_(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT)) {
  sockaddr_nl groups{};
  groups.nl_family = AF_NETLINK;
  groups.nl_groups = kernelGroup | udevGroup;
  if (socket_.get() >= 0 &&
      bind(socket_.get(), reinterpret_cast<const sockaddr*>(&groups), sizeof groups) == 0)
    return;
  problem_ = std::strerror(errno);
  socket_.reset();
}

bool UsbEvents::take() {
  bool any = false;
  while (const std::optional<bool> one = takeOne(socket_.get())) any = *one || any;
  return any;
}

}  // namespace frontend::share
