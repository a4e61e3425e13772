#include "ScannerList.h"

#include <utility>
#include <variant>

#include "AttachedDevice.h"
#include "ScannerName.h"

namespace frontend {
namespace {

using Access = platform::AttachedDevice::Access;

std::string hintFor(const platform::AttachedDevice& device) {
  switch (device.access) {
    case Access::granted:
      return "";
    case Access::denied:
      return "You do not have permission to use " + device.node() +
             ". If the scanner's udev rule is not installed yet, install the driver package and replug the "
             "scanner; otherwise join the group scanner and log in again.";
    case Access::noNode:
      return device.node() +
             " is not visible to this program, which seems to run in a container or a sandbox: allow it to "
             "access USB devices.";
  }
  return "";
}

ScannerEntry realScanner(const platform::AttachedDevice& device) {
  const bool accessible = device.access == Access::granted;
  std::string name = std::string(usbScannerPrefix) + device.path.text();
  return {std::move(name), "Quenvar", "Q750", "flatbed scanner", false, accessible, hintFor(device)};
}

}  // namespace

// Users must not mistake it for a real scanner: applications show the model, some also the type, which is one
// of those that SANE defines.
ScannerEntry virtualScanner() {
  return {std::string(virtualScannerName), "Quenvar", "Q750 (virtual)", "virtual device", true, true, ""};
}

ScannerList listScanners(ScannerSearch& search, bool withVirtual) {
  ScannerList list{{}, outcome::good()};
  const ListReply reply = search.run();
  if (const auto* failure = std::get_if<ScanOutcome>(&reply)) {
    list.outcome = *failure;
  } else {
    for (const auto& device : std::get<AttachedScanners>(reply)) list.scanners.push_back(realScanner(device));
  }
  if (withVirtual) list.scanners.push_back(virtualScanner());
  return list;
}

}  // namespace frontend
