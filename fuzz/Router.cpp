// Reads: method and path of a request, separated by a blank.
// Checks: an extra slash changes nothing; a method reported as allowed is allowed; routes have one spelling.
#include "Router.h"

#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend::share;
  const std::string_view text = textOf({bytes, size});
  const std::string_view method = text.substr(0, text.find(' '));
  const std::string path(text.substr(std::min(method.size() + 1, text.size())));
  const auto result = findRoute(method, path);
  if (const auto* none = std::get_if<NoRoute>(&result)) {
    const std::string_view allowed = none->allow.substr(0, none->allow.find(','));
    check(allowed.empty() ? none->code == 404 : findRoute(allowed, path).index() == 0);
    return 0;
  }
  const Route& route = std::get<Route>(result);
  check(path.starts_with('/') && path.find_first_of("%?\\") == std::string::npos);
  check(route.jobId.empty() || path.find(route.jobId) == sizeof("/eSCL/ScanJobs/") - 1);
  check(path.ends_with('/') || findRoute(method, path + "/") == result);
  return 0;
}
