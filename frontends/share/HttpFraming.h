#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "HttpMessage.h"

namespace frontend::share {

// What determines where a request ends and which host it is for, and must therefore be unambiguous: a proxy
// that interprets it differently would let one client's bytes be taken for the request of another (RFC 9112,
// 11.2). Collects headers and checks them; independent of connections. Throws only std::bad_alloc.
struct HttpFraming {
  std::string_view version;  // "HTTP/1.1"; valid as long as the request
  std::size_t headerBytes = 0;
  unsigned hosts = 0;  // headers of this name, and so on
  unsigned lengths = 0;
  unsigned encodings = 0;
  std::uint64_t length = 0;
  bool isChunked = false;
  bool isMalformed = false;  // a header has an invalid name

  // Records a header. Its name is compared without regard to case.
  void note(std::string_view name, std::string_view value);

  bool hasBody() const { return encodings > 0 || length > 0; }
  // Why the request is not accepted, with the limits of ConnectionTable.h; nothing if it is.
  std::optional<HttpResponse> refusal() const;
};

}  // namespace frontend::share
