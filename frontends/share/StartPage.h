#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Router.h"
#include "StatusDocument.h"

// The page for people who open the server's address in a browser, and the files that it needs. Pure
// functions; any thread; nothing throws but std::bad_alloc.
namespace frontend::share {

enum class PageLanguage : std::uint8_t { english, german };

// The reader's preferred language, from the header Accept-Language; English if the header is absent or lists
// neither language.
PageLanguage languageOf(std::optional<std::string_view> acceptLanguage);

// Of the header Content-Language: "en", "de".
std::string_view tagOf(PageLanguage language);

// What the page reports.
struct PageFacts {
  std::string name;  // of the scanner, for people
  ScannerState state = ScannerState::idle;
  std::string address;         // where the reader reached the server: "http://myhost.local:8750"
  bool servesNetwork = false;  // or this computer alone
  bool isAnnounced = true;     // there, by multicast DNS
};

// The page, in HTML. Replaces each {{name}} of page/index.html by a text of the language or by a fact, which
// is escaped.
std::string startPage(const PageFacts& facts, PageLanguage language);

struct PageResource {
  std::string_view contentType;
  std::string_view bytes;
};

// The file of one of the routes pageStyle, pageScript and icon.
PageResource pageResourceOf(RouteKind kind);

inline constexpr std::string_view pageContentType = "text/html; charset=utf-8";

}  // namespace frontend::share
