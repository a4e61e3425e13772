#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "HttpMessage.h"

namespace frontend::share {

// What decides where a request ends and for which host it is, and must therefore have one meaning: a proxy
// that reads it another way would let one client's bytes be taken for the request of another (RFC
// 9112, 11.2). Collects headers and judges them; knows no connection. Nothing throws but std::bad_alloc.
struct HttpFraming {
  std::string_view version;  // "HTTP/1.1"; valid as long as the request
  std::size_t headerBytes = 0;
  unsigned hosts = 0;  // headers of this name, and so on
  unsigned lengths = 0;
  unsigned encodings = 0;
  std::uint64_t length = 0;
  bool isChunked = false;

  // Takes a header into account. Its name is compared without regard to case.
  void note(std::string_view name, std::string_view value);

  bool hasBody() const { return encodings > 0 || length > 0; }
  // Why the request is not accepted, with the limits of ConnectionTable.h; nothing if it is.
  std::optional<HttpResponse> refusal() const;
};

}  // namespace frontend::share
