#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace frontend::share {

// One service of the scanner, as DNS-SD describes it.
struct AnnouncedService {
  std::string type;               // "_uscan._tcp"; "_uscans._tcp" where there is a certificate
  std::uint16_t port = 0;         // on which the server listens for it
  std::vector<std::string> text;  // of the TXT record, each "key=value", as they are sent

  bool operator==(const AnnouncedService&) const = default;
};

// Who is to find the scanner by itself.
enum class AnnouncementReach : std::uint8_t {
  nobody,
  thisMachine,  // announced on the loopback interface alone, for programs in sandboxes
  network,      // announced on every interface that the mDNS daemon uses
};

// A server for the network is announced there. One for this machine alone is announced only if `locally`:
// programs that use the SANE back end would list the scanner twice.
constexpr AnnouncementReach announcementReach(bool servesNetwork, bool locally) {
  if (servesNetwork) return AnnouncementReach::network;
  return locally ? AnnouncementReach::thisMachine : AnnouncementReach::nobody;
}

// Announces the scanner by multicast DNS, through the system's Avahi daemon: while it is published, programs
// on the network find it under a name for people. Answers no query itself and knows nothing of the scanner or
// of eSCL.
//
//   Announcement announcement("Quenvar Q750 @ myhost", AnnouncementReach::network, log);
//   announcement.publish({{"_uscan._tcp", 8750, {"txtvers=1", ...}}});   // the scanner is plugged in
//   announcement.withdraw();                                             // it is unplugged
//
// A daemon that is not running, or stops, does no harm: that is reported once, and what is published is
// announced as soon as there is one. A name that another device has is replaced by the next ("... #2"), which
// is reported and kept for as long as the object exists, so that clients find the scanner again after a
// replug. Nothing is thrown but std::bad_alloc; on the object's own thread it ends the process.
//
// Owns its connection to the daemon, whose end withdraws everything, and a thread that waits for it and
// sleeps otherwise. Any thread may call the functions below; they wait for the daemon's answers, which takes
// milliseconds. AnnouncementState.h has the table of what follows what.
class Announcement {
 public:
  // A sentence for the log. Called from any thread, the object's own included, and never by two at a time;
  // must not call the object.
  using Report = std::function<void(const std::string& sentence)>;

  // `name` is UTF-8 and at most 63 bytes long.
  Announcement(const std::string& name, AnnouncementReach reach, Report report);
  ~Announcement();
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;

  // Announces these services, all under one name, in place of those before. No service is the same as
  // withdraw().
  void publish(std::vector<AnnouncedService> services);
  void withdraw();

  // The name at this moment: another than it was given after a collision.
  std::string name() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend::share
