#include "Router.h"

#include <algorithm>
#include <optional>

#include "EsclNames.h"

namespace frontend::share {
namespace {

constexpr unsigned notFound = 404;
constexpr unsigned methodNotAllowed = 405;

constexpr std::string_view readable = "GET, HEAD";

struct KnownPath {
  std::string_view path;  // without the slash at the end
  RouteKind kind;
  std::string_view methods;
};

constexpr KnownPath paths[] = {
    {"", RouteKind::page, readable},
    {"/page.css", RouteKind::pageStyle, readable},
    {"/page.js", RouteKind::pageScript, readable},
    {escl::iconPath, RouteKind::icon, readable},
    {"/eSCL/ScannerCapabilities", RouteKind::capabilities, readable},
    {"/eSCL/ScannerStatus", RouteKind::status, readable},
    {"/eSCL/ScanJobs", RouteKind::newJob, "POST"},
};

// What follows the path of a job. A request for the headers of a document is refused: it would have to wait
// for the scanner, and could not leave the document for the next one.
constexpr KnownPath partsOfJob[] = {
    {"", RouteKind::endOfJob, "DELETE"},
    {"/NextDocument", RouteKind::nextDocument, "GET"},
    {"/ScanImageInfo", RouteKind::imageInfo, readable},
};

constexpr std::string_view jobPrefix = "/eSCL/ScanJobs/";
constexpr std::size_t uuidLength = 36;

bool isInId(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == '-';
}

// What the path begins with, if it looks like the ID of a job.
std::optional<std::string_view> idAtBegin(std::string_view path) {
  const std::string_view id = path.substr(0, uuidLength);
  if (id.size() != uuidLength || !std::all_of(id.begin(), id.end(), isInId)) return std::nullopt;
  return id;
}

// Whether the list, as the header Allow has it, contains the method.
bool contains(std::string_view methods, std::string_view method) {
  constexpr std::string_view separator = ", ";
  while (true) {
    const std::size_t length = methods.find(separator);
    if (methods.substr(0, length) == method) return true;
    if (length == std::string_view::npos) return false;
    methods.remove_prefix(length + separator.size());
  }
}

template <std::size_t count>
const KnownPath* find(const KnownPath (&known)[count], std::string_view path) {
  const auto found =
      std::find_if(known, known + count, [=](const KnownPath& candidate) { return candidate.path == path; });
  return found == known + count ? nullptr : found;
}

}  // namespace

std::variant<Route, NoRoute> findRoute(std::string_view method, std::string_view path) {
  if (path.empty()) return NoRoute{notFound, {}};
  if (path.ends_with('/')) path.remove_suffix(1);
  std::string_view id;
  const KnownPath* known = find(paths, path);
  if (known == nullptr && path.starts_with(jobPrefix)) {
    std::string_view rest = path.substr(jobPrefix.size());
    id = idAtBegin(rest).value_or("");
    rest.remove_prefix(id.size());
    if (rest.starts_with("//")) rest.remove_prefix(1);
    if (!id.empty()) known = find(partsOfJob, rest);
  }
  if (known == nullptr) return NoRoute{notFound, {}};
  if (!contains(known->methods, method)) return NoRoute{methodNotAllowed, known->methods};
  return Route{known->kind, id};
}

}  // namespace frontend::share
