#include "ListenAddress.h"

#include <charconv>

namespace virtualscanner {
namespace {

std::optional<std::uint16_t> parsePort(std::string_view text) {
  std::uint16_t port = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc() || rest != end) return std::nullopt;
  return port;
}

}  // namespace

std::optional<ListenAddress> parseListenAddress(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto port = parsePort(text.substr(colon + 1));
  std::string_view host = text.substr(0, colon);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);
  const bool hasColon = host.find(':') != std::string_view::npos;
  if (!port || host.empty() || hasColon != bracketed || host.find_first_of("[]") != std::string_view::npos)
    return std::nullopt;
  return ListenAddress{std::string(host), *port};
}

std::string textOf(const ListenAddress& address) {
  const bool bracketed = address.host.find(':') != std::string::npos;
  const std::string host = bracketed ? "[" + address.host + "]" : address.host;
  return host + ":" + std::to_string(address.port);
}

}  // namespace virtualscanner
