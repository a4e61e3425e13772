#include "ReportChannel.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>

namespace frontend {
namespace {

// Blocks in practice for a moment at most: the connection holds a few messages, and there are two in all.
void sendWhole(int descriptor, const std::string& message) {
  while (::send(descriptor, message.data(), message.size(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
  }
}

}  // namespace

void ReportChannel::send(const PictureLayout& layout) {
  if (!over_.load()) sendWhole(descriptor_, layoutMessage(layout));
}

void ReportChannel::send(const ScanOutcome& outcome) {
  // Built before it counts as sent: if that throws, a later outcome can still be.
  const std::string message = outcomeMessage(outcome);
  if (!over_.exchange(true)) sendWhole(descriptor_, message);
}

void ReportChannel::send(const AttachedScanners& scanners) {
  const std::string message = scannersMessage(scanners);
  if (!over_.exchange(true)) sendWhole(descriptor_, message);
}

void ReportChannel::sendHeartbeat() {
  int unread = 0;
  if (over_.load() || ioctl(descriptor_, SIOCOUTQ, &unread) != 0 || unread > 0) return;
  ::send(descriptor_, heartbeatMessage.data(), heartbeatMessage.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

}  // namespace frontend
