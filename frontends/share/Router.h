#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

// Which request is which: a pure function of method and path.
//
//   path                                   methods     kind
//   /                                      GET HEAD    page
//   /page.css                              GET HEAD    pageStyle
//   /page.js                               GET HEAD    pageScript
//   /eSCL/icon.png                         GET HEAD    icon
//   /eSCL/ScannerCapabilities              GET HEAD    capabilities
//   /eSCL/ScannerStatus                    GET HEAD    status
//   /eSCL/ScanJobs                         POST        newJob
//   /eSCL/ScanJobs/ID                      DELETE      endOfJob
//   /eSCL/ScanJobs/ID/NextDocument         GET         nextDocument
//   /eSCL/ScanJobs/ID/ScanImageInfo        GET HEAD    imageInfo
//
// One slash may follow each path, and one more may precede the last part of a job's: some clients append "/"
// to the path of the job that they were given. Everything else is compared byte by byte; nothing is decoded,
// so that each path has one spelling and none contains a percent sign.
namespace frontend::share {

enum class RouteKind : std::uint8_t {
  page,
  pageStyle,
  pageScript,
  icon,
  capabilities,
  status,
  newJob,
  endOfJob,
  nextDocument,
  imageInfo,
};

struct Route {
  RouteKind kind;
  std::string_view jobId;  // a part of the path, for the last three kinds; the job need not exist

  friend bool operator==(const Route&, const Route&) = default;
};

// A request that matches no route.
struct NoRoute {
  unsigned code;           // of HTTP: 404, or 405 for a path that takes other methods
  std::string_view allow;  // those, for the header Allow; empty for 404

  friend bool operator==(const NoRoute&, const NoRoute&) = default;
};

// `path` is that of the request line, without its query. The methods of a route are exactly those above:
// OPTIONS is not among them, because a browser would take its success for permission to other sites. Any
// thread; never fails.
std::variant<Route, NoRoute> findRoute(std::string_view method, std::string_view path);

}  // namespace frontend::share
