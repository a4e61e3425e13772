#include "HttpFraming.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <limits>

#include "ConnectionTable.h"

namespace frontend::share {
namespace {

bool isSame(std::string_view one, std::string_view other) {
  return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

// "Content-Length " is not one: a proxy that skips the blank reads a length, and the library does not (RFC
// 9112, 5.1).
bool isHeaderName(std::string_view text) {
  constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [=](char c) {
    const char lower = static_cast<char>(c | 0x20);
    return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || marks.find(c) != marks.npos;
  });
}

// More than any limit if it is not a number: the library has refused it, or will.
std::uint64_t numberIn(std::string_view text) {
  std::uint64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? number : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

void HttpFraming::note(std::string_view name, std::string_view value) {
  isMalformed = isMalformed || !isHeaderName(name);
  if (isSame(name, "Host")) ++hosts;
  if (isSame(name, "Content-Length")) {
    ++lengths;
    length = numberIn(value);
  }
  if (isSame(name, "Transfer-Encoding")) {
    ++encodings;
    isChunked = isSame(value, "chunked");
  }
}

std::optional<HttpResponse> HttpFraming::refusal() const {
  if (version != "HTTP/1.1" && version != "HTTP/1.0")
    return plainResponse(505, "This server understands HTTP/1.0 and HTTP/1.1.");
  if (headerBytes > httplimits::headerBytes)
    return plainResponse(431, "The headers of the request are too large.");
  if (isMalformed) return plainResponse(400, "A header of the request is malformed.");
  if (hosts > 1) return plainResponse(400, "The request names more than one host.");
  if (lengths > 1 || encodings > 1 || (lengths > 0 && encodings > 0))
    return plainResponse(400, "The length of the request is given twice.");
  if (encodings > 0 && !isChunked) return plainResponse(501, "The encoding of the request is not supported.");
  if (length > httplimits::bodyBytes) return plainResponse(413, "The request is too large.");
  return std::nullopt;
}

}  // namespace frontend::share
