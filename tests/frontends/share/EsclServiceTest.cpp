#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "EsclService.h"
#include "FakeScanner.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

constexpr char grayPng[] =
    "<s:ScanSettings xmlns:s='http://schemas.hp.com/imaging/escl/2011/05/03'"
    " xmlns:p='http://www.pwg.org/schemas/2010/12/sm'><p:Version>2.0</p:Version>"
    "<s:ColorMode>Grayscale8</s:ColorMode><s:XResolution>75</s:XResolution><s:YResolution>75</s:YResolution>"
    "<p:ScanRegions><p:ScanRegion><p:XOffset>0</p:XOffset><p:YOffset>0</p:YOffset><p:Width>32</p:Width>"
    "<p:Height>256</p:Height></p:ScanRegion></p:ScanRegions>"
    "<s:DocumentFormatExt>image/png</s:DocumentFormatExt></s:ScanSettings>";

class Service : public testing::Test {
 protected:
  HttpRequest request(std::string method, std::string path, std::string body = "") {
    HttpRequest request;
    request.method = std::move(method);
    request.path = std::move(path);
    request.body = std::move(body);
    request.client = stays;
    request.header = [this](const char* name) -> std::optional<std::string_view> {
      const auto found = headers.find(name);
      return found == headers.end() ? std::nullopt : std::optional<std::string_view>(found->second);
    };
    return request;
  }
  // In the order of the server's calls: the head first.
  HttpResponse respond(const HttpRequest& request) {
    if (auto refusal = service.refusalOf(request)) return std::move(*refusal);
    return service.respond(request);
  }
  HttpResponse get(const std::string& path) { return respond(request("GET", path)); }
  // The path of a job of 8 x 64 pixels, which the fake scanner sends.
  std::string post() {
    const HttpResponse response = respond(request("POST", "/eSCL/ScanJobs", grayPng));
    EXPECT_EQ(response.code, 201U) << response.body;
    return response.headers.empty() ? "" : response.headers.front().second;
  }

  std::map<std::string, std::string> headers = {{"Host", "127.0.0.1:8750"}};
  bool connected = true;
  FakeScanner scanner;
  ScanJobs jobs{scanner.setup()};
  EsclService service{jobs,
                      {.identity = {"5f0c1a52-7a0e-5d5b-9d3c-0b6a6d1e7501", "usb:1-2", "Q750 @ host"},
                       .address = "",
                       .ownNames = {"host"},
                       .isConnected = [this] { return connected; }}};
};

TEST_F(Service, ScansAPage) {
  const std::string job = post();
  EXPECT_THAT(job, StartsWith("/eSCL/ScanJobs/"));
  scanner.sendPage();
  const HttpResponse page = get(job + "/NextDocument");
  EXPECT_EQ(page.code, 200U);
  EXPECT_EQ(page.contentType, "image/png");
  EXPECT_THAT(page.headers, Contains(Pair("Content-Location", job + "/NextDocument/1")));
  ASSERT_NE(page.stream, nullptr);
  char bytes[8] = {};
  ASSERT_EQ(page.stream->read(0, bytes, sizeof bytes), sizeof bytes);
  EXPECT_EQ(std::string(bytes + 1, 3), "PNG");
}

TEST_F(Service, ReportsTheCapabilitiesAndTheStatusAsXml) {
  for (const char* path : {"/eSCL/ScannerCapabilities", "/eSCL/ScannerStatus"}) {
    const HttpResponse response = get(path);
    EXPECT_EQ(response.code, 200U);
    EXPECT_EQ(response.contentType, "text/xml");
    EXPECT_THAT(response.body, StartsWith("<?xml"));
  }
}

TEST_F(Service, ReportsWhetherTheScannerIsThere) {
  EXPECT_THAT(get("/eSCL/ScannerStatus").body, HasSubstr("<pwg:State>Idle</pwg:State>"));
  connected = false;
  EXPECT_THAT(get("/eSCL/ScannerStatus").body, HasSubstr("<pwg:State>Down</pwg:State>"));
  post();  // whatever the list of devices says, it scans
  EXPECT_THAT(get("/eSCL/ScannerStatus").body, HasSubstr("<pwg:State>Processing</pwg:State>"));
}

TEST_F(Service, ReportsThePictureOfAJob) {
  const std::string job = post();
  EXPECT_EQ(get(job + "/ScanImageInfo").code, 404U);
  scanner.sendRows(1);
  jobs.find(job.substr(job.rfind('/') + 1))->awaitStart(10s);
  EXPECT_THAT(get(job + "/ScanImageInfo").body, HasSubstr("<scan:ActualHeight>64</scan:ActualHeight>"));
}

TEST_F(Service, SendsABusyClientAwayForAWhile) {
  post();
  const HttpResponse second = respond(request("POST", "/eSCL/ScanJobs", grayPng));
  EXPECT_EQ(second.code, 503U);
  EXPECT_THAT(second.headers, Contains(Pair("Retry-After", "2")));
  EXPECT_THAT(second.body, HasSubstr("busy"));
}

TEST_F(Service, CancelsAJobThatIsDeleted) {
  const std::string job = post();
  EXPECT_EQ(respond(request("DELETE", job)).code, 200U);
  EXPECT_EQ(get(job + "/NextDocument").code, 410U);
  EXPECT_EQ(respond(request("DELETE", job)).code, 200U);
}

TEST_F(Service, DistinguishesWhatIsNoTicketFromWhatIsNotPossible) {
  EXPECT_EQ(respond(request("POST", "/eSCL/ScanJobs", "no XML")).code, 400U);
  std::string other = grayPng;
  other.replace(other.find(">75<"), 4, ">77<");
  EXPECT_EQ(respond(request("POST", "/eSCL/ScanJobs", other)).code, 409U);
  EXPECT_EQ(scanner.started(), 0);
}

TEST_F(Service, KnowsNoOtherPathsJobsAndMethods) {
  EXPECT_EQ(get("/eSCL/Nothing").code, 404U);
  EXPECT_EQ(get("/eSCL/ScanJobs/5f0c1a52-7a0e-4d5b-9d3c-0b6a6d1e7501/NextDocument").code, 404U);
  const HttpResponse response = respond(request("PUT", "/eSCL/ScannerStatus"));
  EXPECT_EQ(response.code, 405U);
  EXPECT_THAT(response.headers, Contains(Pair("Allow", "GET, HEAD")));
}

TEST_F(Service, LetsNoOtherSiteIn) {
  headers["Host"] = "evil.example";
  EXPECT_EQ(get("/eSCL/ScannerStatus").code, 421U);
  headers["Host"] = "127.0.0.1";
  headers["Origin"] = "http://evil.example";
  EXPECT_EQ(respond(request("POST", "/eSCL/ScanJobs", grayPng)).code, 403U);
  EXPECT_EQ(scanner.started(), 0);
}

TEST_F(Service, CancelsTheJobOfAClientThatLeftBeforeItKnewOfIt) {
  HttpRequest post = request("POST", "/eSCL/ScanJobs", grayPng);
  post.client.gone = [] { return true; };
  EXPECT_TRUE(respond(post).abort);
  EXPECT_EQ(jobs.reports().front().state, JobState::canceled);
}

TEST_F(Service, ClosesTheConnectionOfAClientThatIsGone) {
  const std::string job = post();
  HttpRequest next = request("GET", job + "/NextDocument");
  next.client.gone = [] { return true; };
  EXPECT_TRUE(respond(next).abort);
  EXPECT_EQ(get(job + "/NextDocument").code, 410U);
}

}  // namespace
