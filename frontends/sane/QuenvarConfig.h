#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "ScanRequest.h"

namespace frontend {

// What quenvar.conf says. Text in, values out: a line that cannot be understood changes nothing and leaves a
// complaint, so that a slip in a file of the administrator's never takes the scanner away.
struct QuenvarConfig {
  bool virtualScanner = false;
  std::chrono::seconds timeout{30};
  VirtualScannerOptions virtualOptions;

  // For people, each with the number of its line.
  std::vector<std::string> complaints;

  // One setting a line: a name, blanks, a value. What follows # at the beginning of a line is a comment.
  static QuenvarConfig parse(std::string_view text);

  // Of the first quenvar.conf in the folders in which SANE looks for such files; the defaults where there is
  // none.
  static QuenvarConfig load();

  // Those folders: the ones in SANE_CONFIG_DIR, separated by colons; after them, or where nothing is set, the
  // current one and the system's, if `listed` (the variable's value, null if there is none) ends in a colon.
  static std::vector<std::string> folders(const char* listed);
};

}  // namespace frontend
