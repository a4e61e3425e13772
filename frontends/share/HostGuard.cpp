#include "HostGuard.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "SettingText.h"

namespace frontend::share {
namespace {

constexpr unsigned badRequest = 400;
constexpr unsigned forbidden = 403;
constexpr unsigned misdirectedRequest = 421;

// Independent of the locale, unlike those of the C library.
char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char c) { return lowerCase(c); });
  return result;
}

bool isNameCharacter(char c) {
  const char lower = lowerCase(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_';
}

// "fe80::1%25eth0" too: the zone is the interface through which the client reaches the address.
bool isIpv6Address(std::string_view text) {
  const std::size_t percent = text.find('%');
  if (percent != std::string_view::npos && !isHostName(text.substr(percent + 1))) return false;
  const std::string_view number = text.substr(0, percent);
  in6_addr address;
  // The C function stops at a NUL.
  return number.find('\0') == std::string_view::npos &&
         inet_pton(AF_INET6, std::string(number).c_str(), &address) == 1;
}

// Four decimal numbers and nothing else. Browsers turn the other spellings of an address into this one.
bool isIpv4Address(std::string_view text) {
  in_addr address;
  return inet_pton(AF_INET, std::string(text).c_str(), &address) == 1;
}

// The host and the port of a URL, as in Host and Origin.
struct Authority {
  std::string host;  // in lower case; an IPv6 address in its brackets
  std::uint16_t port;
  bool isAddress;

  friend bool operator==(const Authority&, const Authority&) = default;
};

// Nothing if it is malformed. An empty port is the default one.
std::optional<std::uint16_t> portIn(std::string_view text, std::uint16_t otherwise) {
  if (text.empty()) return otherwise;
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || rest != end) return std::nullopt;
  return port;
}

// Accepts every possible host, whatever its name; nothing if the text cannot be one.
std::optional<Authority> authorityIn(std::string_view text, std::uint16_t defaultPort) {
  const bool bracketed = text.starts_with('[');
  const std::size_t hostEnd = bracketed ? text.find(']') : text.find(':');
  if (bracketed && hostEnd == std::string_view::npos) return std::nullopt;
  const std::string_view host = text.substr(0, bracketed ? hostEnd + 1 : hostEnd);
  std::string_view rest = text.substr(host.size());
  if (!rest.empty() && rest.front() != ':') return std::nullopt;
  if (!rest.empty()) rest.remove_prefix(1);
  const auto port = portIn(rest, defaultPort);
  if (!port) return std::nullopt;
  const bool valid = bracketed ? isIpv6Address(host.substr(1, host.size() - 2)) : isHostName(host);
  if (!valid) return std::nullopt;
  return Authority{lowerCase(host), *port, bracketed || isIpv4Address(host)};
}

std::string withoutLastDot(std::string name) {
  if (name.size() > 1 && name.ends_with('.')) name.pop_back();
  return name;
}

std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 80;
  return "\"" + printable(text.substr(0, longest)) + (text.size() > longest ? "...\"" : "\"");
}

GuardRefusal unknownName(std::string_view host) {
  return {misdirectedRequest,
          quoted(host) +
              " is not a name of this server. Use its address, or add the name to server_names in "
              "/etc/quenvar/share.conf."};
}

constexpr std::uint16_t httpPort = 80;
constexpr std::uint16_t httpsPort = 443;

// Whether the request was made by a page of this server. Browsers leave out the default port in both headers.
bool isOwnOrigin(std::string_view origin, const std::optional<Authority>& host, bool isTls) {
  const std::string_view scheme = isTls ? "https://" : "http://";
  if (!host || lowerCase(origin.substr(0, scheme.size())) != scheme) return false;
  return authorityIn(origin.substr(scheme.size()), isTls ? httpsPort : httpPort) == host;
}

// Whether a user followed a link, which shows the page to them and reveals nothing to another site.
bool isVisit(const RequestSource& source) {
  return source.isPage && (source.method == "GET" || source.method == "HEAD") &&
         source.fetchMode == "navigate" && source.fetchDest == "document";
}

bool isOfAnotherSite(const RequestSource& source) {
  if (!source.fetchSite || source.fetchSite == "same-origin" || source.fetchSite == "none") return false;
  return !isVisit(source);
}

}  // namespace

bool isHostName(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isNameCharacter);
}

HostGuard::HostGuard(const std::vector<std::string>& ownNames) : ownNames_{"localhost"} {
  for (const std::string& name : ownNames) ownNames_.push_back(withoutLastDot(lowerCase(name)));
}

bool HostGuard::isOwn(const std::string& name) const {
  return std::find(ownNames_.begin(), ownNames_.end(), withoutLastDot(name)) != ownNames_.end();
}

std::optional<GuardRefusal> HostGuard::refusalOf(const RequestSource& source) const {
  std::optional<Authority> host;
  if (source.host) {
    host = authorityIn(*source.host, source.isTls ? httpsPort : httpPort);
    if (!host) return GuardRefusal{badRequest, "The Host header " + quoted(*source.host) + " is malformed."};
    if (!host->isAddress && !isOwn(host->host)) return unknownName(host->host);
  } else if (!source.isHttp10) {
    return GuardRefusal{badRequest, "The Host header is missing."};
  }
  if (source.origin && !isOwnOrigin(*source.origin, host, source.isTls))
    return GuardRefusal{forbidden, "Requests of web pages from " + quoted(*source.origin) + " are refused."};
  if (isOfAnotherSite(source))
    return GuardRefusal{forbidden, "Requests of web pages from other sites are refused."};
  return std::nullopt;
}

std::vector<std::string> namesOfMachine(std::string_view hostName) {
  std::vector<std::string> names;
  const std::string label(hostName.substr(0, hostName.find('.')));
  if (label.empty()) return names;
  for (const std::string& name : {std::string(hostName), label, label + ".local"}) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  return names;
}

}  // namespace frontend::share
