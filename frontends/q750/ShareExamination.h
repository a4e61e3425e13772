#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Examination.h"

namespace frontend {

// Who listens on the port of the network server.
enum class SharePort : std::uint8_t {
  unused,
  shared,  // a server for this scanner
  taken,   // another program
};

// The settings of the network server that decide whether it can be reached. That server alone reads the
// others.
struct ShareSettings {
  std::uint16_t port = 8750;
  std::string certificate;            // a path; empty where connections are not encrypted
  std::string address = "127.0.0.1";  // at which it listens

  bool operator==(const ShareSettings&) const = default;

  // From the text of share.conf. Lines that are not settings are left for the server to report.
  static ShareSettings parse(std::string_view text);
};

// What sharing the scanner with the network depends on, as found on this machine.
struct ShareFacts {
  std::string program;  // the path of the network server; empty if it is not installed
  ShareSettings settings;
  SharePort port = SharePort::unused;
  bool avahi = false;            // whether the mDNS daemon runs
  bool certificateThere = true;  // whether there is a file where the settings name a certificate
  std::vector<std::string>
      addresses;  // of this machine, in numbers, but those by which only itself is reached
};

// Sends a request to the server at this port of this machine and waits for half a second at most. `address`
// is numeric. If this machine does not have it, nothing is sent and the port counts as unused.
SharePort whoServes(std::uint16_t port, const std::string& address = "127.0.0.1");

// Examines this machine. Starts nothing and connects only to a server on its own port, for half a second at
// most.
ShareFacts takeShareFacts();

// Judges them. None is a reason not to scan from this machine, so nothing needs attention more than a note.
// Where the server is not installed, that is the only finding.
std::vector<Finding> examineSharing(const ShareFacts& facts);

}  // namespace frontend
