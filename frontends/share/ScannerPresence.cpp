#include "ScannerPresence.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

#include "ScannerName.h"

namespace frontend::share {

std::string presentScanner(const std::vector<ScannerEntry>& scanners, const std::string& device) {
  const bool anyReal = device.empty() || device == firstUsbScannerName;
  const auto found = std::find_if(scanners.begin(), scanners.end(), [&](const ScannerEntry& scanner) {
    return anyReal ? !scanner.isVirtual : scanner.name == device;
  });
  return found == scanners.end() ? "" : found->name;
}

ScannerPresence::ScannerPresence(std::string device, List list, Listener listener)
    : device_(std::move(device)),
      list_(std::move(list)),
      listener_(std::move(listener)),
      end_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (end_.get() < 0) throw std::system_error(errno, std::generic_category());
  thread_ = std::thread(&ScannerPresence::follow, this);
}

ScannerPresence::~ScannerPresence() {
  const std::uint64_t one = 1;
  // Cannot fail: the counter is at zero.
  [[maybe_unused]] const ssize_t written = write(end_.get(), &one, sizeof one);
  thread_.join();
}

std::string ScannerPresence::problem() const {
  if (events_.problem().empty()) return "";
  return "The system does not report when scanners are plugged in or out (" + events_.problem() +
         "): whether one is there is found out when somebody scans.";
}

// The system's reports are subscribed to before the list is first read, so that no change is missed.
void ScannerPresence::follow() {
  std::optional<std::string> known;
  do {
    std::string now = presentScanner(list_(), device_);
    if (known == now) continue;
    known = std::move(now);
    listener_(*known);
  } while (awaitChange());
}

// False when the object is being destroyed.
bool ScannerPresence::awaitChange() {
  constexpr int forEver = -1;
  int timeout = forEver;
  for (;;) {
    std::array<pollfd, 2> sources{{{end_.get(), POLLIN, 0}, {events_.descriptor(), POLLIN, 0}}};
    const int ready = poll(sources.data(), sources.size(), timeout);
    if (sources[0].revents != 0) return false;
    if (ready == 0) return true;  // no further messages
    if (events_.take()) timeout = static_cast<int>(settlingTime.count());
  }
}

}  // namespace frontend::share
