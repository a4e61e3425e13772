#include "ScannerName.h"

#include "UsbPath.h"

namespace frontend {

std::optional<ScannerName> parseScannerName(std::string_view name) {
  if (name == virtualScannerName) return ScannerName{true, std::nullopt};
  if (name == firstUsbScannerName) return ScannerName{false, std::nullopt};
  if (!name.starts_with(usbScannerPrefix)) return std::nullopt;
  const auto path = platform::UsbPath::parse(name.substr(usbScannerPrefix.size()));
  if (!path) return std::nullopt;
  return ScannerName{false, path->location()};
}

}  // namespace frontend
