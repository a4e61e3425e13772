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
  std::vector<platform::OwnedDescriptor> sockets;  // that listen
  std::string certificate;                         // PEM; with `key`: TLS on every socket
  std::string key;
  // Whether clients of this address are served at all.
  std::function<bool(const sockaddr& address)> allows = [](const sockaddr&) { return true; };
  std::function<void(const std::string& line)> log = [](const std::string&) {};
};

// Carries requests to a handler and its responses back, over HTTP/1.0 and 1.1 by libmicrohttpd. Each
// connection has a thread, which its handler may block; one more looks after those that are overdue. Idle,
// none of them wakes up. Enforces what needs no understanding of a request: the limits in ConnectionTable.h,
// and one meaning for each request (no second length, host or encoding). Logs a line per request: who, what,
// code, bytes, milliseconds; nothing of its content.
class HttpServer {
 public:
  // Serves from now on. `handler` outlives the server. Throws HttpServerError.
  HttpServer(HttpHandler& handler, HttpServerSetup setup);
  // Closes every connection and waits for its thread: the handler must not block it any longer.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend::share
