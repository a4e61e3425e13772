#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace frontend::share {

// What the guard checks. Views of a request's headers; nothing if a header is absent.
struct RequestSource {
  std::string_view method;
  bool isPage = false;  // whether the start page itself is requested, the only path that links may lead to
  bool isHttp10 = false;
  bool isTls = false;
  std::optional<std::string_view> host;
  std::optional<std::string_view> origin;
  std::optional<std::string_view> fetchSite;  // Sec-Fetch-Site, and so on
  std::optional<std::string_view> fetchMode;
  std::optional<std::string_view> fetchDest;
};

struct GuardRefusal {
  unsigned code;         // of HTTP
  std::string sentence;  // for the client and the journal, in printable ASCII
};

// Prevents other web sites from using the scanner through a browser on its network. Native clients send only
// Host of these headers, and pass.
//
// - DNS rebinding: a page loaded from evil.example, whose address its owner then changes to the server's, is
//   of the same origin for the browser, but still sends Host: evil.example. So the host has to be an IP
//   address, which no name can be changed to, "localhost", or a name of this server (421).
// - Requests from other sites: any site may post a form to any address, but the browser adds Origin or
//   Sec-Fetch-Site, which no page can suppress (403). Following a link to the start page is allowed.
//
// A request of HTTP/1.1 without a host, or with one that is malformed, is a bad request (400). The caller has
// to refuse a second Host header. Immutable; any thread; nothing throws but std::bad_alloc.
class HostGuard {
 public:
  // Names are compared without regard to case, and to one dot at the end.
  explicit HostGuard(const std::vector<std::string>& ownNames);

  // Nothing if the request is allowed.
  std::optional<GuardRefusal> refusalOf(const RequestSource& source) const;

 private:
  bool isOwn(const std::string& name) const;

  std::vector<std::string> ownNames_;  // in lower case, without a dot at the end
};

// Whether the text can be the name of a host.
bool isHostName(std::string_view text);

// The names under which a machine of this name, which may be fully qualified, is reached without any
// configuration: itself, its first label, and that in the domain of multicast DNS.
std::vector<std::string> namesOfMachine(std::string_view hostName);

}  // namespace frontend::share
