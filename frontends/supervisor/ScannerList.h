#pragma once

#include <string>
#include <vector>

namespace frontend {

// A scanner that is there, as a person sees it.
struct ScannerEntry {
  std::string
      name;  // to choose it by: "usb:1-2.3" or "virtual"; below 32 characters, the same after a replug
  std::string vendor;
  std::string model;
  std::string type;
  bool isVirtual;
  bool accessible;   // whether this user may use it; another program may have it all the same
  std::string hint;  // what to do where it is not accessible; empty where it is
};

// The scanners there are at this moment: the real ones by bus and port, then the virtual one if it is wanted.
// Opens none and disturbs none. Where USB cannot be used at all no real one is listed, and `failure`, if
// given, says why; otherwise it is emptied. Any thread.
std::vector<ScannerEntry> listScanners(bool withVirtual, std::string* failure = nullptr);

}  // namespace frontend
