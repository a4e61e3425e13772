#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace frontend::share {

// One service of the scanner, as DNS-SD describes it.
struct AnnouncedService {
  std::string type;               // "_uscan._tcp"; "_uscans._tcp" if there is a certificate
  std::uint16_t port = 0;         // on which the server listens for it
  std::vector<std::string> text;  // of the TXT record, each "key=value", as they are sent

  bool operator==(const AnnouncedService&) const = default;
};

// Who can discover the scanner.
enum class AnnouncementReach : std::uint8_t {
  nobody,
  thisMachine,  // announced only on the loopback interface, for programs in sandboxes
  network,      // announced on every interface that the mDNS daemon uses
};

// A server for the network is announced there. One for this machine alone is announced only if `locally`:
// programs that use the SANE back end would list the scanner twice.
constexpr AnnouncementReach announcementReach(bool servesNetwork, bool locally) {
  if (servesNetwork) return AnnouncementReach::network;
  return locally ? AnnouncementReach::thisMachine : AnnouncementReach::nobody;
}

// Announces the scanner by multicast DNS, through the system's Avahi daemon: while it is published, programs
// on the network find it under a human-readable name. Answers no queries itself; independent of the scanner
// and of eSCL.
//
//   Announcement announcement("Quenvar Q750 @ myhost", AnnouncementReach::network, log);
//   announcement.publish({{"_uscan._tcp", 8750, {"txtvers=1", ...}}});   // the scanner is plugged in
//   announcement.withdraw();                                             // it is unplugged
//
// A daemon or message bus that is not running, or stops, is not an error: that is reported once, and
// published services are announced as soon as a daemon runs. A name that another device has is replaced by
// the next ("... #2"), which is reported and kept for as long as the object exists, so that clients find the
// scanner again after a replug. Throws only std::bad_alloc, which ends the process on the object's own
// thread.
//
// Owns its connection to the daemon, which withdraws everything when it is closed, and a thread that sleeps
// until the daemon reports something; without a message bus, it looks for one every five seconds. Any thread
// may call the functions below; they wait for the daemon's replies, which takes milliseconds. The state table
// is in AnnouncementState.h.
class Announcement {
 public:
  // A sentence for the log. Called from any thread, including the object's own, but never from two at a time;
  // must not call the object.
  using Report = std::function<void(const std::string& sentence)>;

  // `name` is UTF-8 and at most 63 bytes long.
  Announcement(const std::string& name, AnnouncementReach reach, Report report);
  ~Announcement();
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

  // Announces these services, all under one name, in place of the previous ones. An empty list is the same as
  // withdraw().
  void publish(std::vector<AnnouncedService> services);
  void withdraw();

  // The current name, which differs from the given one after a collision.
  std::string name() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend::share
