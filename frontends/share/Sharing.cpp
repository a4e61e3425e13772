#include "Sharing.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace frontend::share {
namespace {

bool isOfThisMachineAlone(std::string_view address) {
  return address.starts_with("127.") || address.starts_with("[::1]:");
}

}  // namespace

std::uint16_t announcedPort(const std::vector<std::string>& listening) {
  std::uint16_t port = 0;
  if (listening.empty()) return port;
  const auto reachable = std::find_if_not(listening.begin(), listening.end(), isOfThisMachineAlone);
  const std::string& address = reachable != listening.end() ? *reachable : listening.front();
  const char* digits = address.data() + address.rfind(':') + 1;
  std::from_chars(digits, address.data() + address.size(), port);
  return port;
}

AnnouncementReach reachOf(const std::vector<std::string>& listening, bool locally) {
  const bool network = !std::all_of(listening.begin(), listening.end(), isOfThisMachineAlone);
  return announcementReach(network, locally && !listening.empty());
}

std::vector<AnnouncedService> announcedServices(const SharingSetup& setup) {
  const char* type = setup.encrypted ? "_uscans._tcp" : "_uscan._tcp";
  return {{type, announcedPort(setup.listening), announcedText(setup.identity, setup.address, setup.note)}};
}

Sharing::Sharing(SharingSetup setup, ScannerPresence::List list, Announcement::Report log)
    : setup_(std::move(setup)),
      log_(std::move(log)),
      announcement_(setup_.identity.name, reachOf(setup_.listening, setup_.locally), log_),
      presence_(setup_.device, std::move(list), [this](const std::string& scanner) { follow(scanner); }) {}

// On the thread of the presence, whose problem is known before the thread begins.
void Sharing::follow(const std::string& scanner) {
  const std::string problem = presence_.problem();
  connected_ = !scanner.empty() || !problem.empty();
  if (!problem.empty()) log_(problem);
  if (connected_) {
    if (!scanner.empty()) log_("The scanner is plugged in: " + scanner + ".");
    announcement_.publish(announcedServices(setup_));
  } else {
    log_("The scanner is not plugged in.");
    announcement_.withdraw();
  }
}

}  // namespace frontend::share
