#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "ScanLimits.h"
#include "ScanRequest.h"

namespace frontend {

// The settings of quenvar.conf. A line that cannot be understood changes nothing and leaves a complaint, so
// that an administrator's slip never takes the scanner away. Any thread; nothing throws but std::bad_alloc.
struct QuenvarConfig {
  bool virtualScanner = false;
  std::chrono::milliseconds timeout = limits::defaultTimeout;
  VirtualScannerOptions virtualOptions;

  // One sentence for each line that was ignored, with its number, and for each file; plain ASCII.
  std::vector<std::string> complaints;

  // One setting on a line: a name, blanks, a value. A line that begins with # is a comment.
  static QuenvarConfig parse(std::string_view text);

  // Reads the first quenvar.conf in folders(SANE_CONFIG_DIR), a variable that a process with more privileges
  // than its user ignores. The defaults if there is none.
  static QuenvarConfig load();

  // Reads the first quenvar.conf in these folders. What cannot be read, is larger than 64 KiB or is no
  // regular file, which may block or never end, leaves a complaint. The defaults if there is none.
  static QuenvarConfig loadFrom(const std::vector<std::string>& folders);

  // Where SANE looks for configuration files: the folders in `listed`, separated by colons. The current
  // folder and the system's follow if `listed` is null or empty or ends with a colon.
  static std::vector<std::string> folders(const char* listed);

  // The names of all settings.
  static std::vector<std::string_view> settingNames();
};

}  // namespace frontend
