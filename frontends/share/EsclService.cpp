#include "EsclService.h"

#include <utility>
#include <variant>

#include "CapabilitiesDocument.h"
#include "EsclNames.h"
#include "ImageInfoDocument.h"
#include "ScanTicket.h"
#include "StartPage.h"

namespace frontend::share {
namespace {

// Clients retry after a second, whatever Retry-After is; a page takes ten times as long.
constexpr char retryAfterSeconds[] = "2";

HttpResponse xmlResponse(std::string document) {
  return {.contentType = std::string(escl::xmlContentType), .body = std::move(document)};
}

HttpResponse sentence(unsigned code, std::string_view text) {
  HttpResponse response = plainResponse(code, text);
  if (code == 503) response.headers.emplace_back("Retry-After", retryAfterSeconds);
  return response;
}

RequestSource sourceOf(const HttpRequest& request) {
  RequestSource source;
  source.method = request.method;
  const auto found = findRoute(request.method, request.path);
  const Route* route = std::get_if<Route>(&found);
  source.isPage = route != nullptr && route->kind == RouteKind::page;
  source.isHttp10 = request.isHttp10;
  source.isTls = request.isTls;
  source.host = request.header("Host");
  source.origin = request.header("Origin");
  source.fetchSite = request.header("Sec-Fetch-Site");
  source.fetchMode = request.header("Sec-Fetch-Mode");
  source.fetchDest = request.header("Sec-Fetch-Dest");
  return source;
}

}  // namespace

EsclService::EsclService(ScanJobs& jobs, EsclServiceSetup setup)
    : jobs_(jobs), setup_(std::move(setup)), guard_(setup_.ownNames) {}

// The guard first: a client that is not allowed must not find out which paths exist.
std::optional<HttpResponse> EsclService::refusalOf(const HttpRequest& head) {
  if (const auto refusal = guard_.refusalOf(sourceOf(head)))
    return plainResponse(refusal->code, refusal->sentence);
  const auto found = findRoute(head.method, head.path);
  const NoRoute* none = std::get_if<NoRoute>(&found);
  if (none == nullptr) return std::nullopt;
  HttpResponse response = plainResponse(none->code, none->code == 405 ? "This method is not allowed here."
                                                                      : "There is nothing at this address.");
  if (!none->allow.empty()) response.headers.emplace_back("Allow", none->allow);
  return response;
}

HttpResponse EsclService::respond(const HttpRequest& request) {
  const auto found = findRoute(request.method, request.path);
  const Route* route = std::get_if<Route>(&found);
  return route != nullptr ? respondTo(*route, request) : plainResponse(404, "");
}

HttpResponse EsclService::respondTo(const Route& route, const HttpRequest& request) {
  switch (route.kind) {
    case RouteKind::capabilities:
      return xmlResponse(capabilitiesDocument(setup_.identity, setup_.address));
    case RouteKind::status:
      return status();
    case RouteKind::newJob:
      return newJob(request);
    case RouteKind::endOfJob:
    case RouteKind::nextDocument:
    case RouteKind::imageInfo:
      return respondForJob(route, request);
    case RouteKind::page:
      return page(request);
    case RouteKind::pageStyle:
    case RouteKind::pageScript:
    case RouteKind::icon:
      break;
  }
  const PageResource resource = pageResourceOf(route.kind);
  return {.contentType = std::string(resource.contentType), .body = std::string(resource.bytes)};
}

// Only browsers request it, and they send the name by which they reached the server.
HttpResponse EsclService::page(const HttpRequest& request) {
  const PageLanguage language = languageOf(request.header("Accept-Language"));
  PageFacts facts{setup_.identity.name, scannerState(), "", setup_.servesNetwork, setup_.isAnnounced};
  facts.address = (request.isTls ? "https://" : "http://") + std::string(request.header("Host").value_or(""));
  HttpResponse response{.contentType = std::string(pageContentType), .body = startPage(facts, language)};
  response.headers.emplace_back("Content-Language", tagOf(language));
  response.headers.emplace_back("Vary", "Accept-Language");
  return response;
}

ScannerState EsclService::scannerState() {
  if (jobs_.scanning()) return ScannerState::processing;
  return setup_.isConnected() ? ScannerState::idle : ScannerState::down;
}

HttpResponse EsclService::status() {
  return xmlResponse(statusDocument(scannerState(), jobs_.reports()));
}

HttpResponse EsclService::newJob(const HttpRequest& request) {
  const auto read = readTicket(request.body);
  if (const auto* refusal = std::get_if<TicketRefusal>(&read))
    return sentence(refusal->code, refusal->sentence);
  const ScanJobs::Posted posted = jobs_.post(std::get<ScanTicket>(read));
  if (posted.code != 201) return sentence(posted.code, posted.sentence);
  if (request.client.gone()) {
    // No other client knows the job.
    if (const auto job = jobs_.find(posted.id)) job->cancel();
    return {.abort = true};
  }
  HttpResponse response{.code = 201};
  // A path alone: clients resolve it against the address that they use, whatever its scheme and name.
  response.headers.emplace_back("Location", jobPath(posted.id));
  return response;
}

HttpResponse EsclService::respondForJob(const Route& route, const HttpRequest& request) {
  std::shared_ptr<PageJob> job = jobs_.find(route.jobId);
  if (job == nullptr) return sentence(404, "There is no such job, or it has expired.");
  if (route.kind == RouteKind::nextDocument) return nextDocument(std::move(job), request);
  if (route.kind == RouteKind::endOfJob) {
    job->remove();
    return {};
  }
  const PlainResponse response = job->infoResponse();
  if (response.code != 200) return sentence(response.code, response.sentence);
  return xmlResponse(imageInfoDocument(job->id(), job->ticket().picture));
}

HttpResponse EsclService::nextDocument(std::shared_ptr<PageJob> job, const HttpRequest& request) {
  const std::string location = jobPath(job->id()) + "/NextDocument/1";
  const std::string_view type = escl::mimeTypeOf(job->ticket().format);
  auto reader = std::make_unique<PageReader>(std::move(job), request.client);
  const PlainResponse begin = reader->begin();
  if (begin.code == clientClosedRequest) return {.abort = true};
  if (begin.code != 200) return sentence(begin.code, begin.sentence);
  HttpResponse response{.contentType = std::string(type), .stream = std::move(reader)};
  response.headers.emplace_back("Content-Location", location);
  return response;
}

}  // namespace frontend::share
