#include <gtest/gtest.h>

#include <string>

#include "Router.h"

namespace {

using namespace frontend::share;

#define JOB "0b1c2d3e-4f50-4617-8283-94a5b6c7d8e9"

// The routes in words: "status", "endOfJob JOB", "404", "405 GET, HEAD".
std::string routeOf(const std::string& method, const std::string& path) {
  constexpr const char* names[] = {"page",   "style",  "script",   "icon",         "capabilities",
                                   "status", "newJob", "endOfJob", "nextDocument", "imageInfo"};
  const auto result = findRoute(method, path);
  if (const auto* none = std::get_if<NoRoute>(&result))
    return std::to_string(none->code) + (none->allow.empty() ? "" : " " + std::string(none->allow));
  const auto& [kind, id] = std::get<Route>(result);
  EXPECT_TRUE(id.empty() || id == JOB) << id;
  return names[static_cast<int>(kind)] + std::string(id.empty() ? "" : " JOB");
}

struct PathRow {
  const char* path;
  const char* route;
  const char* methods;  // that it takes, as Allow lists them
};

const PathRow knownPaths[] = {
    {"/", "page", "GET, HEAD"},
    {"/page.css", "style", "GET, HEAD"},
    {"/page.js", "script", "GET, HEAD"},
    {"/eSCL/icon.png", "icon", "GET, HEAD"},
    {"/eSCL/ScannerCapabilities", "capabilities", "GET, HEAD"},
    {"/eSCL/ScannerStatus", "status", "GET, HEAD"},
    {"/eSCL/ScanJobs", "newJob", "POST"},
    {"/eSCL/ScanJobs/" JOB, "endOfJob JOB", "DELETE"},
    {"/eSCL/ScanJobs/" JOB "/NextDocument", "nextDocument JOB", "GET"},
    {"/eSCL/ScanJobs/" JOB "/ScanImageInfo", "imageInfo JOB", "GET, HEAD"},
};

std::string withSlash(const std::string& path) {
  return path == "/" ? path : path + "/";
}

class RouterTable : public testing::TestWithParam<PathRow> {};

TEST_P(RouterTable, TakesItsMethodsAndRefusesTheOthers) {
  const auto& [path, route, allow] = GetParam();
  for (const std::string method : {"GET", "HEAD", "POST", "DELETE"}) {
    const bool allowed = std::string(allow).find(method) != std::string::npos;
    const std::string expected = allowed ? route : "405 " + std::string(allow);
    EXPECT_EQ(routeOf(method, path), expected) << method;
    EXPECT_EQ(routeOf(method, withSlash(path)), expected) << method;
  }
}

TEST_P(RouterTable, RefusesWhatIsNoneOfItsMethods) {
  const auto& [path, route, allow] = GetParam();
  for (const char* method : {"PUT", "OPTIONS", "TRACE", "CONNECT", "PATCH", "BREW", "get", "Post", "", "GET,",
                             "GET, HEAD", ",", " ", "GE", " GET", "EAD"})
    EXPECT_EQ(routeOf(method, path), "405 " + std::string(allow)) << method;
}

INSTANTIATE_TEST_SUITE_P(KnownPaths, RouterTable, testing::ValuesIn(knownPaths));

TEST(Router, TakesOneMoreSlashBeforeThePartsOfAJob) {
  EXPECT_EQ(routeOf("GET", "/eSCL/ScanJobs/" JOB "//NextDocument"), "nextDocument JOB");
  EXPECT_EQ(routeOf("GET", "/eSCL/ScanJobs/" JOB "//NextDocument/"), "nextDocument JOB");
  EXPECT_EQ(routeOf("GET", "/eSCL/ScanJobs/" JOB "//ScanImageInfo"), "imageInfo JOB");
}

TEST(Router, FindsNothingElse) {
  for (const char* path : {"",
                           "//",
                           "*",
                           "/eSCL",
                           "/eSCL/",
                           "/escl/ScannerStatus",
                           "/eSCL/scannerstatus",
                           "/eSCL/ScannerStatus//",
                           "//eSCL/ScannerStatus",
                           "/eSCL//ScannerStatus",
                           "/eSCL/./ScannerStatus",
                           "/eSCL/ScannerStatus/x",
                           "/eSCL/../eSCL/ScannerStatus",
                           "/eSCL/Scanner%53tatus",
                           "/eSCL%2FScannerStatus",
                           "/page.css%00",
                           "/eSCL/ScannerStatus?x",
                           "http://h/eSCL/ScannerStatus",
                           "eSCL/ScannerStatus",
                           "/index.html",
                           "/favicon.ico",
                           "/eSCL/ScanBufferInfo",
                           "/eSCL/ScanJobs/1",
                           "/eSCL/ScanJobs//" JOB,
                           "/eSCL/ScanJobs/" JOB "//",
                           "/eSCL/ScanJobs/" JOB "x",
                           "/eSCL/ScanJobs/" JOB "-",
                           "/eSCL/ScanJobs/" JOB "///NextDocument",
                           "/eSCL/ScanJobs/" JOB "/NextDocument/1",
                           "/eSCL/ScanJobs/" JOB "/NextDocumen",
                           "/eSCL/ScanJobs/" JOB "NextDocument",
                           "/eSCL/ScanJobs/0B1C2D3E-4F50-4617-8283-94A5B6C7D8E9",
                           "/eSCL/ScanJobs/../../../../../../../../etc/passwd",
                           "/eSCL/ScanJobs/%30b1c2d3e-4f50-4617-8283-94a5b6c7d8e9"}) {
    for (const char* method : {"GET", "POST", "DELETE"}) EXPECT_EQ(routeOf(method, path), "404") << path;
  }
}

TEST(Router, KeepsNulsInAPathApart) {
  EXPECT_EQ(routeOf("GET", std::string("/\0", 2)), "404");
  EXPECT_EQ(routeOf("GET", std::string("/eSCL/ScannerStatus\0", 20)), "404");
}

#undef JOB

}  // namespace
