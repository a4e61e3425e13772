#include "VirtualCommand.h"

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include "CancelSignals.h"
#include "CommandError.h"
#include "Confinement.h"
#include "Console.h"
#include "Inheritance.h"
#include "UsbipFormat.h"
#include "UsbipServer.h"
#include "VirtualOptions.h"
#include "VirtualScanner.h"

namespace frontend {
namespace {

// Several times what the paper and all buffers of all clients take.
constexpr std::uint64_t memoryLimit = 1 << 30;

using virtualscanner::ListenAddress;
using virtualscanner::UsbipServer;

[[noreturn]] void throwListenError(const std::string& address, int error) {
  const std::string where = "--listen " + address + ": ";
  switch (error) {
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
      throw UsageError(where + "this machine has no such address. Try " + defaultListenAddress() + ".");
    case EADDRINUSE:
      throw CommandError(ExitCode::busy,
                         where +
                             "in use by another program. Stop that program, or choose another "
                             "port; port 0 selects a free one.");
    case EACCES:
    case EPERM:
      throw CommandError(ExitCode::accessDenied,
                         where + "you may not listen on this port. Choose a port above 1023.");
    default:
      throw CommandError(ExitCode::ioError, where + std::generic_category().message(error) + ".");
  }
}

platform::OwnedDescriptor listenAt(const std::string& text) {
  const auto address = virtualscanner::parseListenAddress(text);
  if (!address) {
    throw UsageError("--listen " + text +
                     ": not an address. Use ADDRESS:PORT, as in 127.0.0.1:3240 or [::1]:3240.");
  }
  try {
    return UsbipServer::listenAt(*address);
  } catch (const std::system_error& error) {
    throwListenError(text, error.code().value());
  }
}

}  // namespace

std::string attachText(const ListenAddress& address) {
  // Nobody can connect to a wildcard address: the user has to insert one of the machine's own.
  const bool anyAddress = address.host == "0.0.0.0" || address.host == "::";
  const std::string port = address.port == virtualscanner::usbip::defaultPort
                               ? ""
                               : "--tcp-port " + std::to_string(address.port) + " ";
  return "A virtual Q750 is listening on " + textOf(address) + ". To attach it, run as root:\n" +
         "  modprobe vhci-hcd\n" +  //
         "  usbip " + port + "attach -r " + (anyAddress ? "HOST" : address.host) + " -b " +
         virtualscanner::usbip::deviceBusId + "\n";
}

void runVirtual(const ServeOptions& options) {
  platform::closeInheritedDescriptors();
  platform::OwnedDescriptor paper = openPaper(options.virtualScanner);
  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  platform::OwnedDescriptor listener = listenAt(options.listen);
  // The paper and the socket are open: nothing else is needed to read the one and to serve whoever connects.
  platform::forgetEnvironment();
  platform::confineProcess({.readable = {}, .devices = {}, .sockets = {}, .memoryBytes = memoryLimit});
  const auto scanner = makeVirtualScanner(options.virtualScanner, std::move(paper));
  UsbipServer server(*scanner, std::move(listener), console::log);
  console::print(attachText(server.address()));
  server.run(signals.descriptor());
}

}  // namespace frontend
