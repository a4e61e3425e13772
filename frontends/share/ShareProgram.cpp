#include "ShareProgram.h"

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <utility>

#include "AddressRules.h"
#include "EsclService.h"
#include "HttpServer.h"
#include "ListenSockets.h"
#include "NetworkAddresses.h"
#include "RegularFile.h"
#include "ScanJobs.h"
#include "ScannerList.h"
#include "ScannerName.h"
#include "ScannerSearch.h"
#include "ShareOptions.h"
#include "Sharing.h"
#include "StandardDescriptors.h"
#include "StartPages.h"

namespace frontend::share {
namespace {

// As q750(1) lists them.
enum ExitCode : int { good = 0, usage = 1, ioError = 7, noMemory = 10 };

constexpr std::size_t largestPemFile = 1 << 20;

// Each line in one write: connections have a thread each.
void log(const std::string& line) {
  const std::string whole = line + "\n";
  // If the line cannot be written, there is nowhere to report that.
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, whole.data(), whole.size());
}

std::string contentOf(const std::string& path) {
  if (path.empty()) return "";
  platform::FileContent content = platform::readRegularFile(path, largestPemFile);
  if (content.state != platform::FileContent::State::read)
    throw HttpServerError(path + " cannot be read. Check its name and who may read it.");
  // Without a certificate the server would not encrypt.
  if (content.bytes.empty()) throw HttpServerError(path + " is empty: expected a certificate or key in PEM.");
  return std::move(content.bytes);
}

Machine thisMachine() {
  char host[256] = {};
  gethostname(host, sizeof host - 1);
  return {platform::readRegularFile("/etc/machine-id", 100).bytes, host};
}

std::string scannerOf(const ShareOptions& options) {
  if (options.isVirtual) return std::string(virtualScannerName);
  return options.device.empty() ? std::string(firstUsbScannerName) : options.device;
}

// The scanners among which the shared one is searched for. For the virtual one, USB need not be searched.
ScannerPresence::List scannersBeside(const std::string& scanner) {
  if (scanner == virtualScannerName) return [] { return std::vector{virtualScanner()}; };
  return [] {
    ScannerSearch search;
    ScannerList list = listScanners(search, false);
    if (!list.outcome.good()) log("The scanners cannot be listed: " + list.outcome.sentence);
    return std::move(list.scanners);
  };
}

// Where clients on the network reach the server: by the machine's name in multicast DNS. Empty if it serves
// only this machine.
std::string addressOf(const Machine& machine, const std::vector<std::string>& listening, bool encrypted) {
  if (reachOf(listening, false) != AnnouncementReach::network) return "";
  return std::string(encrypted ? "https://" : "http://") + machine.host.substr(0, machine.host.find('.')) +
         ".local:" + std::to_string(announcedPort(listening));
}

// As nohup(1) starts a program that is to outlive its terminal.
bool isHangupIgnored() {
  struct sigaction action {};
  return sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Ctrl-C, the service manager and a closed terminal end the server. The main thread waits for them; they are
// blocked before other threads start, so that they reach none of those.
class EndSignals {
 public:
  EndSignals() {
    sigemptyset(&signals_);
    for (const int signal : {SIGINT, SIGTERM}) sigaddset(&signals_, signal);
    // sigwait() takes ignored signals, too.
    if (!isHangupIgnored()) sigaddset(&signals_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    // Instead, the call that would raise them returns an error.
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
  }
  void await() const {
    int signal = 0;
    sigwait(&signals_, &signal);
  }
  // From now on a second one ends the process at once.
  void release() const { pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr); }

 private:
  sigset_t signals_{};
};

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

void announce(const std::string& name, const ListenSockets& listening, bool tls) {
  for (const std::string& address : addressesToOpen(listening.addresses, platform::networkAddresses())) {
    print(name + " is shared at " + (tls ? "https://" : "http://") + address + "/\n");
  }
}

ScanJobsSetup jobsFor(const ShareOptions& options, const std::string& scanner, const std::string& version) {
  ScanJobsSetup setup;
  setup.request.scanner = scanner;
  setup.request.timeout = options.timeout.value_or(limits::defaultTimeout);
  setup.request.tone = options.tone;
  setup.request.virtualScanner = options.virtualScanner;
  setup.software = version;
  setup.log = log;
  return setup;
}

SharingSetup sharingFor(const ShareOptions& options, const std::string& scanner, const Machine& machine,
                        const std::vector<std::string>& listening) {
  SharingSetup setup;
  setup.device = scanner;
  setup.identity = identityOf(machine, scanner, options.name);
  setup.encrypted = !options.certificate.empty();
  setup.address = addressOf(machine, listening, setup.encrypted);
  setup.note = machine.host;
  const auto wanted = options.announce.value_or(ShareConfig::Announce::on);
  setup.locally = wanted == ShareConfig::Announce::local;
  // Without listening addresses, nothing is announced.
  if (wanted != ShareConfig::Announce::off) setup.listening = listening;
  return setup;
}

HttpServerSetup serverFor(const ShareOptions& options, ListenSockets& listening) {
  HttpServerSetup setup;
  setup.sockets = std::move(listening.sockets);
  setup.certificate = contentOf(options.certificate);
  setup.key = contentOf(options.key);
  setup.allows = [rules = AddressRules(options.allow)](const sockaddr& client) {
    return rules.allows(client);
  };
  setup.log = log;
  return setup;
}

EsclServiceSetup serviceFor(const ShareOptions& options, const Machine& machine, const SharingSetup& shared,
                            const ListenSockets& listening) {
  EsclServiceSetup setup;
  setup.identity = shared.identity;
  setup.address = shared.address;
  setup.ownNames = namesOfMachine(machine.host);
  setup.ownNames.insert(setup.ownNames.end(), options.serverNames.begin(), options.serverNames.end());
  setup.servesNetwork = listening.servesNetwork;
  setup.isAnnounced = options.announce != ShareConfig::Announce::off;
  return setup;
}

void serve(const ShareOptions& options, const std::string& version) {
  const EndSignals signals;
  const std::string scanner = scannerOf(options);
  if (!parseScannerName(scanner))
    throw ShareUsageError("--device " + scanner + ": not the name of a scanner. See q750 list.");
  ListenSockets listening = inheritedSockets();
  if (listening.sockets.empty()) listening = listenOn(options.bind, options.port.value_or(defaultPort));
  const Machine machine = thisMachine();
  const SharingSetup shared = sharingFor(options, scanner, machine, listening.addresses);
  HttpServerSetup server = serverFor(options, listening);
  EsclServiceSetup setup = serviceFor(options, machine, shared, listening);
  const Sharing sharing(shared, scannersBeside(scanner), log);
  setup.isConnected = [&sharing] { return sharing.isConnected(); };
  ScanJobs jobs(jobsFor(options, scanner, version));
  EsclService service(jobs, std::move(setup));
  const HttpServer http(service, std::move(server));
  announce(shared.identity.name, listening, shared.encrypted);
  notifyReady();
  platform::forgetStartPages();
  signals.await();
  signals.release();
  jobs.stop();
}

int fail(int code, const std::string& message) {
  log("q750-share: " + message);
  return code;
}

}  // namespace

int runShareProgram(int argc, const char* const* argv, const std::string& version) try {
  platform::reserveStandardDescriptors();
  const std::string program = "q750-share " + version;
  const ShareOptions options = parseShareOptions(argc, argv, program);
  if (!options.text.empty()) return print(options.text), good;
  const ShareConfig config = options.config.empty() ? ShareConfig() : ShareConfig::load(options.config);
  serve(completed(options, config), program);
  return good;
} catch (const ShareUsageError& error) {
  return fail(usage, error.what());
} catch (const std::bad_alloc&) {
  return fail(noMemory, std::string(outcome::noMemorySentence));
} catch (const std::exception& error) {
  return fail(ioError, error.what());
}

}  // namespace frontend::share
