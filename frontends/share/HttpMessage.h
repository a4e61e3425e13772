#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Requests and responses, without the library that carries them (HttpServer.h).
namespace frontend::share {

// What is known of the connection to a client. Neither function blocks or throws.
struct ClientLink {
  std::function<bool()> gone;                   // whether the client has closed it
  std::function<std::size_t()> unacknowledged;  // bytes that the client's system may not have received
};

struct HttpRequest {
  std::string method;
  std::string path;  // of the request line, without its query; nothing is decoded
  bool isHttp10 = false;
  bool isTls = false;
  // The value of a header, whose name is compared without regard to case. Valid until the response.
  std::function<std::optional<std::string_view>(const char* name)> header;
  std::string body;
  ClientLink client;
};

// A body whose length is not known in advance. One thread, which it may block.
class HttpBody {
 public:
  // Without finish() before: the client was not sent all of it.
  virtual ~HttpBody() = default;
  // Reads up to `capacity` bytes from `offset`, each byte once and in order. 0 is the end; nothing means that
  // the rest will never be available, and aborts the connection, so that the client detects it.
  virtual std::optional<std::size_t> read(std::uint64_t offset, void* bytes, std::size_t capacity) = 0;
  // All of it was sent.
  virtual void finish() = 0;
};

struct HttpResponse {
  unsigned code = 200;
  std::string contentType = {};
  std::string body = {};
  std::unique_ptr<HttpBody> stream = {};  // in place of `body`
  std::vector<std::pair<std::string, std::string>> headers = {};
  bool abort = false;  // close the connection without a response: the client has left
};

// A sentence as text/plain.
HttpResponse plainResponse(unsigned code, std::string_view sentence);

// Responds to requests. Both functions are called by the threads of connections, several at a time, and may
// block. Neither throws but std::bad_alloc, which ends the connection.
class HttpHandler {
 public:
  virtual ~HttpHandler() = default;
  // Checks a request by its head, before its body is accepted. Nothing if it may proceed.
  virtual std::optional<HttpResponse> refusalOf(const HttpRequest& head) = 0;
  virtual HttpResponse respond(const HttpRequest& request) = 0;
  // Performs the tasks that are due, and returns the time until the next is; nothing if none will be due
  // before the next request. Called by one thread.
  virtual std::optional<std::chrono::milliseconds> keepHouse() { return std::nullopt; }
};

}  // namespace frontend::share
