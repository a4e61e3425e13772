#include "HttpServer.h"

#include <linux/sockios.h>
#include <microhttpd.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include "ConnectionTable.h"
#include "HttpFraming.h"
#include "SettingText.h"

namespace frontend::share {
namespace {

using std::chrono::milliseconds;

constexpr unsigned silenceSeconds =
    static_cast<unsigned>(std::chrono::duration_cast<std::chrono::seconds>(httplimits::silence).count());
// Of libmicrohttpd, for the head of a request and pieces of a response.
constexpr std::size_t connectionMemory = 32 * 1024;
constexpr std::size_t blockSize = 64 * 1024;
constexpr std::size_t longestLoggedPath = 200;
constexpr unsigned leastCodeOfRefusals = 400;

// The start page loads, runs and requests only what this server serves, has no inline script or style, and
// cannot be embedded in another page. Scanned pages are never cached.
constexpr std::array<std::pair<const char*, const char*>, 4> securityHeaders = {{
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
     "form-action 'self'; base-uri 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"},
}};

// An address has one text: an IPv4 client has the same on a socket for both protocols as on one for IPv4.
std::string textOf(const sockaddr* address) {
  char text[NI_MAXHOST];
  const auto size =
      static_cast<socklen_t>(address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in));
  if (address->sa_family == AF_UNIX) return "local";
  if (getnameinfo(address, size, text, sizeof text, nullptr, 0, NI_NUMERICHOST) != 0) return "unknown";
  constexpr std::string_view mapped = "::ffff:";
  const std::string_view whole = text;
  return std::string(whole.starts_with(mapped) ? whole.substr(mapped.size()) : whole);
}

int socketOf(MHD_Connection* connection) {
  return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

std::string addressOf(MHD_Connection* connection) {
  return textOf(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr);
}

bool isClosed(int socket) {
  pollfd state{socket, POLLRDHUP, 0};
  return poll(&state, 1, 0) > 0;
}

// By TCP.
std::size_t unacknowledgedBytes(int socket) {
  int bytes = 0;
  return ioctl(socket, SIOCOUTQ, &bytes) != 0 ? 0 : static_cast<std::size_t>(bytes);
}

MHD_Result noteHeader(void* cls, MHD_ValueKind /*kind*/, const char* name, const char* value) {
  static_cast<HttpFraming*>(cls)->note(name, value != nullptr ? value : "");
  return MHD_YES;
}

HttpFraming framingOf(MHD_Connection* connection, std::string_view version) {
  HttpFraming framing;
  framing.version = version;
  MHD_get_connection_values(connection, MHD_HEADER_KIND, noteHeader, &framing);
  const auto* size = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
  if (size != nullptr) framing.headerBytes = size->header_size;
  return framing;
}

// One request and its response.
struct Exchange {
  MHD_Connection* connection = nullptr;
  Clock::time_point start = Clock::now();
  HttpRequest request;
  bool bodyTooLarge = false;
  std::optional<HttpResponse> refusal;  // found in the head
  std::unique_ptr<HttpBody> stream;
  unsigned code = 0;
  std::uint64_t bytes = 0;
  std::string reason;  // of a refusal, for the log
};

HttpRequest requestOf(MHD_Connection* connection, const char* path, const char* method,
                      std::string_view version) {
  HttpRequest request;
  request.method = method;
  request.path = path;
  request.isHttp10 = version == MHD_HTTP_VERSION_1_0;
  request.header = [connection](const char* name) -> std::optional<std::string_view> {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    // The library leaves the blanks that follow a value.
    return value != nullptr ? std::optional(trimmed(value)) : std::nullopt;
  };
  const int socket = socketOf(connection);
  request.client = {[socket] { return isClosed(socket); }, [socket] { return unacknowledgedBytes(socket); }};
  return request;
}

void setSilence(MHD_Connection* connection, unsigned seconds) {
  MHD_set_connection_option(connection, MHD_CONNECTION_OPTION_TIMEOUT, seconds);
}

// Lets the client see an error. HTTP/1.0 has no chunks: its clients take an ordinary end of the connection
// for the end of the page.
void reset(int socket) {
  sockaddr nobody{};
  nobody.sa_family = AF_UNSPEC;
  // Fails for a local socket, which cannot be reset.
  [[maybe_unused]] const int failed = connect(socket, &nobody, sizeof nobody);
}

// While the body waits for its next bytes, its silence must not count as the client's.
ssize_t readStream(void* cls, std::uint64_t position, char* buffer, std::size_t capacity) {
  Exchange& exchange = *static_cast<Exchange*>(cls);
  setSilence(exchange.connection, 0);
  std::optional<std::size_t> count;
  try {
    count = exchange.stream->read(position, buffer, capacity);
  } catch (const std::exception&) {
  }
  setSilence(exchange.connection, silenceSeconds);
  if (!count && exchange.request.isHttp10) reset(socketOf(exchange.connection));
  if (!count) return MHD_CONTENT_READER_END_WITH_ERROR;
  exchange.bytes += *count;
  return *count == 0 ? MHD_CONTENT_READER_END_OF_STREAM : static_cast<ssize_t>(*count);
}

// Leaves the path as it was sent.
std::size_t unescapeNothing(void* /*cls*/, MHD_Connection* /*connection*/, char* text) {
  return std::strlen(text);
}

void dropMessage(void* /*cls*/, const char* /*format*/, va_list /*arguments*/) {}

MHD_Result queue(Exchange& exchange, HttpResponse answer) {
  if (answer.abort) return MHD_NO;
  exchange.code = answer.code;
  if (answer.code >= leastCodeOfRefusals) exchange.reason = answer.body.substr(0, answer.body.find('\n'));
  exchange.stream = std::move(answer.stream);
  MHD_Response* response = nullptr;
  if (exchange.stream) {
    response = MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, blockSize, readStream, &exchange, nullptr);
  } else {
    exchange.bytes = answer.body.size();
    response = MHD_create_response_from_buffer(answer.body.size(), answer.body.data(), MHD_RESPMEM_MUST_COPY);
  }
  if (response == nullptr) return MHD_NO;
  for (const auto& [name, value] : securityHeaders) MHD_add_response_header(response, name, value);
  if (!answer.contentType.empty())
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, answer.contentType.c_str());
  for (const auto& [name, value] : answer.headers)
    MHD_add_response_header(response, name.c_str(), value.c_str());
  const MHD_Result queued = MHD_queue_response(exchange.connection, answer.code, response);
  MHD_destroy_response(response);
  return queued;
}

}  // namespace

struct HttpServer::Impl {
  Impl(HttpHandler& requestHandler, HttpServerSetup serverSetup)
      : handler(requestHandler), setup(std::move(serverSetup)) {}

  void start();
  void stop();
  void listen(platform::OwnedDescriptor socket);
  std::vector<MHD_OptionItem> optionsFor(int socket);
  static MHD_Result onAccept(void* cls, const sockaddr* address, socklen_t size);
  static MHD_Result onAccess(void* cls, MHD_Connection* connection, const char* path, const char* method,
                             const char* version, const char* data, std::size_t* size, void** context);
  static void onCompleted(void* cls, MHD_Connection* connection, void** context,
                          MHD_RequestTerminationCode how);
  static void onConnection(void* cls, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode how);
  MHD_Result accept(const sockaddr* address);
  MHD_Result begin(MHD_Connection* connection, const char* path, const char* method, const char* version,
                   void** context);
  MHD_Result goOn(Exchange& exchange, const char* data, std::size_t* size);
  void complete(Exchange& exchange, bool sent);
  void log(const Exchange& exchange) const;
  void connectionChanged(MHD_Connection* connection, MHD_ConnectionNotificationCode how);
  void keepHouse();

  HttpHandler& handler;
  HttpServerSetup setup;
  std::vector<MHD_Daemon*> daemons;
  std::mutex mutex;
  std::condition_variable wake;
  ConnectionTable connections;  // guarded by the mutex, like the next two
  bool houseIsDue = false;
  bool stopping = false;
  std::thread housekeeper;
};

void HttpServer::Impl::start() {
  for (platform::OwnedDescriptor& socket : setup.sockets) listen(std::move(socket));
  housekeeper = std::thread([this] { keepHouse(); });
}

void HttpServer::Impl::listen(platform::OwnedDescriptor socket) {
  constexpr unsigned plain =
      MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_THREAD_PER_CONNECTION | MHD_USE_ERROR_LOG | MHD_USE_ITC;
  std::vector<MHD_OptionItem> options = optionsFor(socket.get());
  MHD_Daemon* daemon = MHD_start_daemon(
      setup.certificate.empty() ? plain : plain | MHD_USE_TLS, 0, onAccept, this, onAccess, this,
      MHD_OPTION_EXTERNAL_LOGGER, dropMessage, nullptr, MHD_OPTION_NOTIFY_COMPLETED, onCompleted, this,
      MHD_OPTION_NOTIFY_CONNECTION, onConnection, this, MHD_OPTION_UNESCAPE_CALLBACK, unescapeNothing,
      nullptr, MHD_OPTION_ARRAY, options.data(), MHD_OPTION_END);
  if (daemon == nullptr)
    throw HttpServerError(setup.certificate.empty()
                              ? "The server cannot be started. Close other programs and try again."
                              : "The server cannot be started with this certificate and key.");
  socket.release();  // the library closes it
  daemons.push_back(daemon);
}

std::vector<MHD_OptionItem> HttpServer::Impl::optionsFor(int socket) {
  std::vector<MHD_OptionItem> options = {
      {MHD_OPTION_LISTEN_SOCKET, socket, nullptr},
      {MHD_OPTION_CONNECTION_LIMIT, static_cast<std::intptr_t>(httplimits::connections), nullptr},
      {MHD_OPTION_CONNECTION_TIMEOUT, silenceSeconds, nullptr},
      {MHD_OPTION_CONNECTION_MEMORY_LIMIT, static_cast<std::intptr_t>(connectionMemory), nullptr},
  };
  if (!setup.certificate.empty()) {
    options.push_back({MHD_OPTION_HTTPS_MEM_CERT, 0, setup.certificate.data()});
    options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, setup.key.data()});
  }
  options.push_back({MHD_OPTION_END, 0, nullptr});
  return options;
}

// The library's callbacks, which must not throw.

MHD_Result HttpServer::Impl::onAccept(void* cls, const sockaddr* address, socklen_t /*size*/) {
  try {
    return static_cast<Impl*>(cls)->accept(address);
  } catch (const std::exception&) {
    return MHD_NO;
  }
}

MHD_Result HttpServer::Impl::onAccess(void* cls, MHD_Connection* connection, const char* path,
                                      const char* method, const char* version, const char* data,
                                      std::size_t* size, void** context) {
  Impl& server = *static_cast<Impl*>(cls);
  try {
    if (*context == nullptr) return server.begin(connection, path, method, version, context);
    return server.goOn(*static_cast<Exchange*>(*context), data, size);
  } catch (const std::exception&) {
    return MHD_NO;  // closes the connection
  }
}

void HttpServer::Impl::onCompleted(void* cls, MHD_Connection* /*connection*/, void** context,
                                   MHD_RequestTerminationCode how) {
  const std::unique_ptr<Exchange> ended(static_cast<Exchange*>(std::exchange(*context, nullptr)));
  if (ended) static_cast<Impl*>(cls)->complete(*ended, how == MHD_REQUEST_TERMINATED_COMPLETED_OK);
}

void HttpServer::Impl::onConnection(void* cls, MHD_Connection* connection, void** /*context*/,
                                    MHD_ConnectionNotificationCode how) {
  try {
    static_cast<Impl*>(cls)->connectionChanged(connection, how);
  } catch (const std::exception&) {
    // Not in the table: only the library's own limits apply to it.
  }
}

void HttpServer::Impl::stop() {
  for (MHD_Daemon* daemon : daemons) MHD_stop_daemon(daemon);
  daemons.clear();
  {
    const std::lock_guard lock(mutex);
    stopping = true;
    wake.notify_all();
  }
  if (housekeeper.joinable()) housekeeper.join();
}

MHD_Result HttpServer::Impl::accept(const sockaddr* address) {
  if (!setup.allows(*address)) return MHD_NO;
  const std::lock_guard lock(mutex);
  return connections.admits(textOf(address)) ? MHD_YES : MHD_NO;
}

void HttpServer::Impl::connectionChanged(MHD_Connection* connection, MHD_ConnectionNotificationCode how) {
  const std::lock_guard lock(mutex);
  if (how == MHD_CONNECTION_NOTIFY_STARTED) {
    connections.open(socketOf(connection), addressOf(connection), Clock::now());
  } else {
    connections.close(socketOf(connection));
  }
  wake.notify_all();
}

MHD_Result HttpServer::Impl::begin(MHD_Connection* connection, const char* path, const char* method,
                                   const char* version, void** context) {
  auto made = std::make_unique<Exchange>();
  made->connection = connection;
  made->request = requestOf(connection, path, method, version);
  made->request.isTls = !setup.certificate.empty();
  const HttpFraming framing = framingOf(connection, version);
  made->refusal = framing.refusal();
  const bool isAmbiguous = made->refusal.has_value();
  if (!isAmbiguous) made->refusal = handler.refusalOf(made->request);
  Exchange& exchange = *made;
  *context = made.release();
  // Without a body the connection can be reused: then the response is sent at the end of the request.
  if (!exchange.refusal || (!isAmbiguous && !framing.hasBody())) return MHD_YES;
  exchange.refusal->headers.emplace_back(MHD_HTTP_HEADER_CONNECTION, "close");
  return queue(exchange, std::move(*exchange.refusal));
}

MHD_Result HttpServer::Impl::goOn(Exchange& exchange, const char* data, std::size_t* size) {
  std::string& body = exchange.request.body;
  if (*size > 0) {
    exchange.bodyTooLarge = exchange.bodyTooLarge || body.size() + *size > httplimits::bodyBytes;
    if (!exchange.bodyTooLarge) body.append(data, *size);
    *size = 0;
    return MHD_YES;
  }
  {
    const std::lock_guard lock(mutex);
    connections.requestArrived(socketOf(exchange.connection));
  }
  if (exchange.refusal) return queue(exchange, std::move(*exchange.refusal));
  if (exchange.bodyTooLarge) return queue(exchange, plainResponse(413, "The request is too large."));
  setSilence(exchange.connection, 0);
  HttpResponse response = handler.respond(exchange.request);
  setSilence(exchange.connection, silenceSeconds);
  return queue(exchange, std::move(response));
}

void HttpServer::Impl::complete(Exchange& exchange, bool sent) {
  if (exchange.stream && sent) exchange.stream->finish();
  exchange.stream.reset();
  try {
    log(exchange);
  } catch (const std::exception&) {
    // Out of memory: the line is lost.
  }
  const std::lock_guard lock(mutex);
  connections.responseSent(socketOf(exchange.connection), Clock::now());
  houseIsDue = true;
  wake.notify_all();
}

void HttpServer::Impl::log(const Exchange& exchange) const {
  const auto taken = std::chrono::duration_cast<milliseconds>(Clock::now() - exchange.start);
  const std::string code = exchange.code == 0 ? "-" : std::to_string(exchange.code);
  setup.log(addressOf(exchange.connection) + " " + printable(exchange.request.method) + " " +
            printable(exchange.request.path.substr(0, longestLoggedPath)) + " " + code + ", " +
            std::to_string(exchange.bytes) + " bytes, " + std::to_string(taken.count()) + " ms" +
            (exchange.reason.empty() ? "" : ": " + printable(exchange.reason)));
}

// Only shuts overdue sockets down: the thread of the connection closes its socket.
void HttpServer::Impl::keepHouse() {
  std::optional<Clock::time_point> chores;
  std::unique_lock lock(mutex);
  while (!stopping) {
    if (houseIsDue || (chores && Clock::now() >= *chores)) {
      houseIsDue = false;
      lock.unlock();
      const auto next = handler.keepHouse();
      chores = next ? std::optional(Clock::now() + *next) : std::nullopt;
      lock.lock();
      continue;
    }
    for (const int socket : connections.takeOverdue(Clock::now())) shutdown(socket, SHUT_RDWR);
    auto deadline = connections.nextDeadline();
    if (chores && (!deadline || *chores < *deadline)) deadline = chores;
    if (deadline) {
      wake.wait_until(lock, *deadline);
    } else {
      wake.wait(lock);
    }
  }
}

HttpServer::HttpServer(HttpHandler& handler, HttpServerSetup setup)
    : impl_(std::make_unique<Impl>(handler, std::move(setup))) {
  try {
    impl_->start();
  } catch (...) {
    impl_->stop();
    throw;
  }
}

HttpServer::~HttpServer() {
  impl_->stop();
}

}  // namespace frontend::share
