#include "ShareExamination.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "SettingText.h"

namespace frontend {
namespace {

using Check = Finding::Check;
using Level = Finding::Level;

Finding finding(Check check, Level level, std::string text) {
  return {check, level, "", std::move(text)};
}

std::optional<std::uint16_t> portIn(std::string_view text) {
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || rest != end || port == 0) return std::nullopt;
  return port;
}

Finding judgePort(const ShareFacts& facts) {
  const std::string port = "port " + std::to_string(facts.settings.port);
  if (facts.port == SharePort::taken && !facts.settings.certificate.empty() && facts.certificateThere)
    return finding(Check::port, Level::ok,
                   "A server uses " + port +
                       ". Whether it shares the scanner is not examined, because its connections are "
                       "encrypted.");
  switch (facts.port) {
    case SharePort::shared:
      return finding(Check::port, Level::ok, "The scanner is shared at " + port + ".");
    case SharePort::unused:
      return finding(Check::port, Level::ok,
                     "The scanner is not shared at the moment; " + port +
                         " is free. To share it: systemctl enable --now q750-share.service.");
    case SharePort::taken:
      break;
  }
  return finding(Check::port, Level::note,
                 "Another program uses " + port +
                     ", so the scanner cannot be shared there. Choose another port in share.conf.");
}

Finding judgeAvahi(bool running) {
  if (running)
    return finding(Check::avahi, Level::ok,
                   "Avahi is running: programs find a shared scanner automatically.");
  return finding(
      Check::avahi, Level::note,
      "Avahi is not running: programs do not find a shared scanner automatically and need its address. "
      "Install the package avahi-daemon.");
}

Finding judgeAddresses(const std::vector<std::string>& addresses) {
  if (addresses.empty())
    return finding(Check::addresses, Level::note,
                   "This machine has no network address: other devices cannot reach it.");
  std::string list;
  for (const std::string& address : addresses) list += (list.empty() ? "" : ", ") + address;
  return finding(Check::addresses, Level::ok, "This machine's addresses in the network: " + list + ".");
}

// Removes the first address from a list and returns it without brackets; empty at the end.
std::string_view takeAddress(std::string_view& list) {
  constexpr std::string_view separators = " \t,[]";
  list.remove_prefix(std::min(list.find_first_not_of(separators), list.size()));
  const std::string_view address = list.substr(0, list.find_first_of(separators));
  list.remove_prefix(address.size());
  return address;
}

// The first of these addresses; the loopback one if one of them includes it.
std::string addressAmong(std::string_view list) {
  const std::string loopback = ShareSettings().address;
  std::string first;
  for (std::string_view one = takeAddress(list); !one.empty(); one = takeAddress(list)) {
    if (one == "::" || one == "0.0.0.0") return loopback;
    if (first.empty()) first = one;
  }
  return first.empty() ? loopback : first;
}

}  // namespace

ShareSettings ShareSettings::parse(std::string_view text) {
  ShareSettings settings;
  std::string addresses;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view name = trimmed(line.substr(0, equals));
    const std::string_view value = trimmed(line.substr(equals + 1));
    if (name == "port") settings.port = portIn(value).value_or(settings.port);
    if (name == "certificate") settings.certificate = value;
    if (name == "bind") addresses.append(value).append(" ");
  }
  settings.address = addressAmong(addresses);
  return settings;
}

std::vector<Finding> examineSharing(const ShareFacts& facts) {
  if (facts.program.empty())
    return {finding(Check::share, Level::ok,
                    "The scanner is not shared with the network: the package quenvar-q750-share is not "
                    "installed.")};
  std::vector<Finding> findings{
      finding(Check::share, Level::ok, "The network server is installed: " + facts.program), judgePort(facts),
      judgeAvahi(facts.avahi), judgeAddresses(facts.addresses)};
  if (!facts.certificateThere)
    findings.push_back(finding(Check::certificate, Level::note,
                               "There is no certificate " + printable(facts.settings.certificate) +
                                   ", which share.conf names: the network server does not start."));
  return findings;
}

}  // namespace frontend
