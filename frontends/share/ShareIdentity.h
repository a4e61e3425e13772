#pragma once

#include <string>
#include <string_view>
#include <vector>

// How the server identifies itself to its clients. Pure functions; any thread; throw only std::bad_alloc.
namespace frontend::share {

// Stays the same across reboots and replugs, so that clients recognise the scanner.
struct ShareIdentity {
  std::string uuid;          // in lower case, with dashes
  std::string serialNumber;  // the scanner's name, see ScannerName.h; the device has none of its own
  std::string name;          // for people, in UTF-8: "Quenvar Q750 @ myhost"
};

// The longest name in DNS-SD, in bytes.
inline constexpr std::size_t longestShareName = 63;

// Whether both people and the message bus can read the name: UTF-8 without control characters, and not empty.
bool isShareName(std::string_view text);

// What identifies this computer.
struct Machine {
  std::string id;    // of machine-id(5): 32 hexadecimal digits, with or without a line feed; or empty
  std::string host;  // its name
};

// The identity of a scanner, given by its stable name, on a machine. `name` is chosen by the administrator
// and accepted by isShareName(), or empty. The UUID is of version 5 (RFC 4122), in the name space of the
// machine ID, which must not be disclosed on a network and cannot be derived from the UUID. Without a machine
// ID the host name is used instead. A name that is too long for DNS-SD is cut between two characters. A host
// name that isShareName() rejects is omitted.
ShareIdentity identityOf(const Machine& machine, std::string_view scanner, std::string_view name);

// The TXT record of DNS-SD: "key=value" each, at most 255 bytes. `address` is as for capabilitiesDocument();
// `note` is where the scanner is, for people.
std::vector<std::string> announcedText(const ShareIdentity& identity, std::string_view address,
                                       std::string_view note);

}  // namespace frontend::share
