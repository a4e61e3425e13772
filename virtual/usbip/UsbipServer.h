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

// Offers a virtual scanner to USB/IP clients over TCP. One at a time has it; another one that wants it is
// told that it is busy. A few more may ask what there is.
//
// Whoever reaches the address can use the scanner: the protocol knows no permission and no encryption. The
// scanner belongs to the caller, outlives the object and must not be touched while it runs. One thread,
// which run() keeps; nothing blocks but its waiting.
class UsbipServer {
 public:
  using Note = std::function<void(const std::string& sentence)>;

  // Listens from here on. Throws std::system_error: address_family_not_supported or
  // address_not_available where the machine has no such address, address_in_use, permission_denied and others
  // as the system tells them. `note` gets a sentence for each client that comes, goes or breaks the protocol.
  UsbipServer(VirtualScanner& scanner, const ListenAddress& address, Note note = {});
  UsbipServer(const UsbipServer&) = delete;
  UsbipServer& operator=(const UsbipServer&) = delete;

  // As it was given, numeric, with the port that it got. Only until run() ends.
  ListenAddress address() const;

  // Serves until `stop`, a descriptor that stays the caller's, is ready to be read; then it listens no more
  // and every client is cut off. Throws std::system_error where waiting itself fails.
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
  void noteAttachment(Client& client);
  std::list<Client>::iterator drop(std::list<Client>::iterator client);
  std::vector<pollfd> whatToAwait(int stop) const;
  void tell(const std::string& sentence) const {
    if (note_) note_(sentence);
  }

  UsbipPort port_;
  Note note_;
  platform::OwnedDescriptor listener_;
  bool acceptPaused_ = false;  // no descriptor is left for one more client
  std::list<Client> clients_;  // the oldest first
};

}  // namespace virtualscanner
