#pragma once

#include <string>
#include <vector>

#include "ScanOutcome.h"
#include "ScannerSearch.h"

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

// The scanners that are connected now.
struct ScannerList {
  std::vector<ScannerEntry> scanners;  // the real ones by bus and port, then the virtual one
  ScanOutcome outcome;                 // why no real one is listed where they cannot be; otherwise good
};

// Lists them with this search, which is used up, and the virtual one if `withVirtual`. Opens none and
// disturbs none. Blocks and fails as ScannerSearch::run().
ScannerList listScanners(ScannerSearch& search, bool withVirtual);

// The virtual scanner alone, without examining USB, which takes longer than everything else in opening a
// scanner.
ScannerEntry virtualScanner();

}  // namespace frontend
