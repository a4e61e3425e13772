#pragma once

#include <string>

namespace frontend::share {

// Who the server is to its clients. The same after a reboot, and after the scanner was plugged in again: that
// is how clients recognise it.
struct ShareIdentity {
  std::string uuid;          // in lower case, with dashes
  std::string serialNumber;  // the scanner's name, see ScannerName.h; the device has none of its own
  std::string name;          // for people, in UTF-8: "Quenvar Q750 @ myhost"
};

}  // namespace frontend::share
