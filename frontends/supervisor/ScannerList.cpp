#include "ScannerList.h"

#include "LibusbDevices.h"
#include "ScannerName.h"

namespace frontend {
namespace {

using Access = platform::LibusbDevices::Access;

std::string hintFor(const platform::LibusbDevices::Device& device) {
  switch (device.access) {
    case Access::granted:
      return "";
    case Access::denied:
      return "You do not have permission to use " + device.node +
             ". If the scanner's udev rule is not installed yet, install the driver package and replug the "
             "scanner; otherwise join the group scanner and log in again.";
    case Access::noNode:
      return device.node +
             " is not visible to this program, which seems to run in a container or a sandbox: allow it to "
             "access USB devices.";
  }
  return "";
}

ScannerEntry entryNamed(std::string name) {
  return {std::move(name), "Quenvar", "Q750", "flatbed scanner", false, true, ""};
}

}  // namespace

std::vector<ScannerEntry> listScanners(bool withVirtual, std::string* failure) {
  std::vector<ScannerEntry> scanners;
  platform::LibusbDevices::List real = platform::LibusbDevices().attached();
  for (const auto& device : real.devices) {
    ScannerEntry& entry = scanners.emplace_back(entryNamed(std::string(usbScannerPrefix) + device.path));
    entry.accessible = device.access == Access::granted;
    entry.hint = hintFor(device);
  }
  if (failure != nullptr) *failure = std::move(real.failure);
  if (withVirtual) scanners.emplace_back(entryNamed(std::string(virtualScannerName))).isVirtual = true;
  return scanners;
}

}  // namespace frontend
