#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Announcement.h"
#include "ScannerPresence.h"
#include "ShareIdentity.h"

namespace frontend::share {

// What is announced of a server.
struct SharingSetup {
  std::string device;      // the scanner that is shared, as ScannerPresence takes it
  ShareIdentity identity;  // as in the server's documents
  std::string address;     // of the server, as for announcedText(); empty if clients cannot resolve one
  std::string note;        // where the scanner is
  std::vector<std::string> listening;  // where the server listens: "127.0.0.1:8750", "[::]:8750"
  bool encrypted = false;              // whether it serves only over TLS
  bool locally = false;                // whether to announce it if it serves only this machine
};

// The port of the first of these addresses that other machines reach, else of the first; 0 if there is none.
std::uint16_t announcedPort(const std::vector<std::string>& listening);
// Who can discover a server that listens there.
AnnouncementReach reachOf(const std::vector<std::string>& listening, bool locally);
// The services that the server offers.
std::vector<AnnouncedService> announcedServices(const SharingSetup& setup);

// Announces the scanner while it is plugged in, and reports whether it is. Serves no clients itself. If the
// system does not report changes, the scanner counts as plugged in: clients get an error when they scan.
//
// Owns the announcement and the monitoring of the scanner, with their threads. Any thread may call its
// functions, which neither block nor fail; the constructor throws what those of ScannerPresence and
// Announcement do.
class Sharing {
 public:
  // `log` is called from any thread, also by several at a time.
  Sharing(SharingSetup setup, ScannerPresence::List list, Announcement::Report log);

  // True until the first list of scanners proves otherwise.
  bool isConnected() const { return connected_; }

 private:
  void follow(const std::string& scanner);

  const SharingSetup setup_;
  const Announcement::Report log_;
  std::atomic<bool> connected_{true};
  Announcement announcement_;
  ScannerPresence presence_;  // the last: its thread uses the others
};

}  // namespace frontend::share
