#pragma once

#include <string>
#include <vector>

#include "ScannerList.h"

namespace frontend {

// What is there to scan from, and what is wrong with the USB as a whole (empty where nothing is).
struct ScannersThere {
  std::vector<ScannerEntry> entries;
  std::string problem;
};

// At this moment.
ScannersThere scannersThere();

// One line per scanner, and what to do about one that this user may not use.
std::string scannerTable(const std::vector<ScannerEntry>& scanners);

// The same as a JSON object, described in the manual page.
std::string scannersAsJson(const ScannersThere& there);

// The name of the scanner to scan from. `asked` is a name, or empty: then it is the virtual one where
// `virtualWanted`, else the only real one, else, where no real one is there, the virtual one. Throws
// CommandError: noDevice for one that is not there, usage for a choice that is left open or contradicts the
// options, accessDenied for one that this user may not use.
std::string chooseScanner(const std::string& asked, bool virtualWanted, const ScannersThere& there);

}  // namespace frontend
