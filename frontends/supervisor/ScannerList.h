#pragma once

#include <string>
#include <vector>

namespace frontend {

// A connected scanner, as users see it.
struct ScannerEntry {
  // To choose it by: "usb:1-2.3" or "virtual". Shorter than 32 characters, the same after replugging.
  std::string name;
  std::string vendor;
  std::string model;
  std::string type;
  bool isVirtual;
  bool accessible;   // whether this user has permission; another program may still be using it
  std::string hint;  // how to make it accessible; empty if it is
};

// Lists the scanners that are connected now: the real ones by bus and port, then the virtual one if
// `withVirtual`. Opens none and disturbs none. If USB cannot be used at all, no real one is listed and
// `failure`, unless null, receives the reason; otherwise it is emptied. Any thread.
std::vector<ScannerEntry> listScanners(bool withVirtual, std::string* failure = nullptr);

// The virtual scanner alone, without a look at USB, which takes longer than all else that opening a scanner
// does.
ScannerEntry virtualScanner();

}  // namespace frontend
