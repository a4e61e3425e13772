#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Cancellation.h"
#include "ExitCode.h"
#include "ScannerList.h"

namespace frontend {

// The scanners there are, real ones first, and why real ones cannot be found, if so.
struct ScannerInventory {
  std::vector<ScannerEntry> scanners;
  std::string problem;                 // a sentence; empty if there is none
  ExitCode code = ExitCode::noDevice;  // of the problem
};

// Searches for them, blocking as ScannerSearch::run() does; a cancel ends the search and is then the problem.
// Opens no device.
ScannerInventory takeInventory();
ScannerInventory takeInventory(Cancellation& cancellation);

// A line for each scanner, and one for what to do if this user may not use it.
std::string scannerTable(const std::vector<ScannerEntry>& scanners);

// The same as a JSON document, which q750(1) describes.
std::string inventoryAsJson(const ScannerInventory& inventory);

// The name of the scanner to use: the one requested, or else the virtual one if its options are used, or else
// the only real one. The virtual scanner never replaces a real one that is missing: a script would save its
// test chart as a page. Takes the inventory unless the virtual scanner is meant.
//
// Throws CommandError: noDevice for an unknown scanner and if none is connected, accessDenied for one that
// this user may not use, usage if several could be meant or the name contradicts the options, and the code of
// the inventory's problem.
std::string chooseScanner(const std::optional<std::string>& requested, bool virtualOptionsUsed,
                          const std::function<ScannerInventory()>& take);

}  // namespace frontend
