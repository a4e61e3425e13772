#pragma once

#include <string>
#include <string_view>
#include <vector>

// Who the server is to its clients. Pure functions; any thread; nothing throws but std::bad_alloc.
namespace frontend::share {

// The same after a reboot, and after the scanner was plugged in again: that is how clients recognise it.
struct ShareIdentity {
  std::string uuid;          // in lower case, with dashes
  std::string serialNumber;  // the scanner's name, see ScannerName.h; the device has none of its own
  std::string name;          // for people, in UTF-8: "Quenvar Q750 @ myhost"
};

// A name of DNS-SD has no more bytes.
inline constexpr std::size_t longestShareName = 63;

// Whether people and the message bus can read it: UTF-8 without control characters, and not empty.
bool isShareName(std::string_view text);

// What identifies this computer.
struct Machine {
  std::string id;    // of machine-id(5): 32 hexadecimal digits, with or without a line feed; or empty
  std::string host;  // its name
};

// The identity of a scanner, given by its stable name, on a machine. `name` is that which the administrator
// chose and isShareName() accepts, or empty. The UUID is of version 5 (RFC 4122), in the name space of the
// machine ID, which must not be seen on a network and cannot be derived from it. Without a machine ID the
// name of the host stands in for it. A name that is too long for DNS-SD is cut between two characters. A host
// whose name is no text is left out of it.
ShareIdentity identityOf(const Machine& machine, std::string_view scanner, std::string_view name);

// The TXT record of DNS-SD: "key=value" each, at most 255 bytes. `address` is as for capabilitiesDocument();
// `note` is where the scanner is, for people.
std::vector<std::string> announcedText(const ShareIdentity& identity, std::string_view address,
                                       std::string_view note);

}  // namespace frontend::share
