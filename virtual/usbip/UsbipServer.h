#pragma once

#include <netinet/in.h>
#include <poll.h>

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "ListenAddress.h"
#include "OwnedDescriptor.h"
#include "UsbipConnection.h"

namespace virtualscanner {

// Serves a virtual scanner to USB/IP clients over TCP. One client at a time can attach it; others get the
// status "busy". A few more connections may list the devices.
//
// Everyone who can reach the address can use the scanner: the protocol has neither authentication nor
// encryption. The scanner belongs to the caller, outlives the server and must not be used while the server
// runs. One thread, which run() occupies; nothing blocks except its poll().
class UsbipServer {
 public:
  using Log = std::function<void(const std::string& line)>;

  // Starts to listen. Throws std::system_error: address_family_not_supported or address_not_available if the
  // machine has no such address, address_in_use, permission_denied and others as the system reports them.
  // `log` gets a line for each client that attaches or detaches the scanner or violates the protocol.
  UsbipServer(VirtualScanner& scanner, const ListenAddress& address, Log log = {});
  // The same with a socket of listenAt(), for a process that may no longer make one.
  UsbipServer(VirtualScanner& scanner, platform::OwnedDescriptor listener, Log log);
  UsbipServer(const UsbipServer&) = delete;
  UsbipServer& operator=(const UsbipServer&) = delete;

  // A socket that listens at this address. Throws std::system_error as above.
  static platform::OwnedDescriptor listenAt(const ListenAddress& address);

  // The address in numeric form, with the port that the system assigned. Valid until run() returns.
  ListenAddress address() const;

  // Serves until `stop`, a descriptor that remains the caller's, becomes readable; then closes the listener
  // and all connections. Throws std::system_error if poll() fails.
  void run(int stop);

 private:
  struct Client {
    Client(platform::OwnedDescriptor accepted, std::string name, UsbipPort& port)
        : socket(std::move(accepted)), peer(std::move(name)), connection(port) {}

    platform::OwnedDescriptor socket;
    std::string peer;
    UsbipConnection connection;
    bool wasAttached = false;
    bool gone = false;
  };

  void accept();
  void makeRoom();
  void serve(Client& client, short events);
  void receive(Client& client);
  void send(Client& client);
  void reportAttachment(Client& client);
  std::list<Client>::iterator drop(std::list<Client>::iterator client);
  std::vector<pollfd> whatToAwait(int stop) const;
  void log(const std::string& line) const {
    if (log_) log_(line);
  }

  UsbipPort port_;
  Log log_;
  platform::OwnedDescriptor listener_;
  bool acceptPaused_ = false;  // for a moment: no descriptor is left for one more client
  std::list<Client> clients_;  // oldest first
};

}  // namespace virtualscanner
