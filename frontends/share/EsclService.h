#pragma once

#include <functional>
#include <string>
#include <vector>

#include "HostGuard.h"
#include "HttpMessage.h"
#include "Router.h"
#include "ScanJobs.h"
#include "ShareIdentity.h"
#include "StatusDocument.h"

namespace frontend::share {

struct EsclServiceSetup {
  ShareIdentity identity;
  std::string address;                // in ScannerCapabilities; empty if clients could not resolve it
  std::vector<std::string> ownNames;  // under which clients may address the server, see HostGuard.h
  bool servesNetwork = false;         // or this computer alone
  bool isAnnounced = true;            // there, by multicast DNS
  // Whether the scanner is connected. Any thread; may take a few milliseconds, and opens nothing.
  std::function<bool()> isConnected = [] { return true; };
};

// The response to each request: guards, routes, documents and jobs put together. Independent of sockets. Any
// thread; blocks when a job does.
class EsclService final : public HttpHandler {
 public:
  // `jobs` outlives the service.
  EsclService(ScanJobs& jobs, EsclServiceSetup setup);

  std::optional<HttpResponse> refusalOf(const HttpRequest& head) override;
  HttpResponse respond(const HttpRequest& request) override;
  std::optional<std::chrono::milliseconds> keepHouse() override { return jobs_.forgetOld(); }

 private:
  HttpResponse respondTo(const Route& route, const HttpRequest& request);
  HttpResponse respondForJob(const Route& route, const HttpRequest& request);
  HttpResponse status();
  HttpResponse page(const HttpRequest& request);
  ScannerState scannerState();
  HttpResponse newJob(const HttpRequest& request);
  static HttpResponse nextDocument(std::shared_ptr<PageJob> job, const HttpRequest& request);

  ScanJobs& jobs_;
  const EsclServiceSetup setup_;
  const HostGuard guard_;
};

}  // namespace frontend::share
