#pragma once

#include <string>
#include <vector>

#include "ScannerList.h"

namespace frontend {

// The scanners there are, real ones first, and why real ones cannot be found, if so.
struct ScannerInventory {
  std::vector<ScannerEntry> scanners;
  std::string problem;  // a sentence; empty if there is none
};

// Looks for them. Opens no device.
ScannerInventory takeInventory();

// A line for each scanner, and one for what to do if this user may not use it.
std::string scannerTable(const std::vector<ScannerEntry>& scanners);

// The same as a JSON document, which q750(1) describes.
std::string inventoryAsJson(const ScannerInventory& inventory);

// The name of the scanner to use. `requested` is a name, or empty for: the virtual scanner if its options are
// used; otherwise the only real one; the virtual one if there is none. Throws CommandError: noDevice for an
// unknown scanner, accessDenied for one that this user may not use, usage if several could be meant or the
// name contradicts the options.
std::string chooseScanner(const std::string& requested, bool virtualOptionsUsed,
                          const ScannerInventory& inventory);

}  // namespace frontend
