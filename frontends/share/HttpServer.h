#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "HttpMessage.h"
#include "OwnedDescriptor.h"

struct sockaddr;

namespace frontend::share {

// The server cannot be started; what() is a sentence for the user.
class HttpServerError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct HttpServerSetup {
  std::vector<platform::OwnedDescriptor> sockets;  // listening
  std::string certificate;                         // PEM; with `key`: TLS on every socket
  std::string key;
  // Whether clients at this address are served.
  std::function<bool(const sockaddr& address)> allows = [](const sockaddr&) { return true; };
  std::function<void(const std::string& line)> log = [](const std::string&) {};
};

// Carries requests to a handler and its responses back, over HTTP/1.0 and 1.1 by libmicrohttpd. Each
// connection has a thread, which the handler may block; one more thread ends overdue connections. While the
// server is idle, none of them wakes up. Enforces the rules that do not depend on what is requested: the
// limits in ConnectionTable.h, and unambiguous requests (no second length, host or encoding). Logs a line per
// request: client, request, code, bytes, milliseconds, and the sentence of a refusal; nothing of a page.
class HttpServer {
 public:
  // Serves from now on. `handler` outlives the server. Throws HttpServerError.
  HttpServer(HttpHandler& handler, HttpServerSetup setup);
  // Closes every connection and waits for its thread: the handler must no longer block it.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend::share
