#include "ReportChannel.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>

#include "WorkerMessages.h"

namespace frontend {
namespace {

// The front end takes every message at once or is busy for a moment; a few fit without it.
void sendWhole(int descriptor, const std::string& message) {
  while (send(descriptor, message.data(), message.size(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
  }
}

}  // namespace

void ReportChannel::tell(const PictureLayout& layout) {
  if (!over_.load()) sendWhole(descriptor_, layoutMessage(layout));
}

void ReportChannel::sendHeartbeat() {
  int unread = 0;
  if (over_.load() || ioctl(descriptor_, SIOCOUTQ, &unread) != 0 || unread > 0) return;
  const std::string message = heartbeatMessage();
  send(descriptor_, message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void ReportChannel::tell(const ScanOutcome& outcome) {
  if (!over_.exchange(true)) sendWhole(descriptor_, outcomeMessage(outcome));
}

}  // namespace frontend
