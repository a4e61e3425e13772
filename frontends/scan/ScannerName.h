#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace frontend {

inline constexpr std::string_view virtualScannerName = "virtual";
inline constexpr std::string_view firstUsbScannerName = "usb";
// The port path of one real scanner follows.
inline constexpr std::string_view usbScannerPrefix = "usb:";

// A scanner's name, parsed.
struct ScannerName {
  bool isVirtual;
  // Where a real one is plugged in, for platform::LibusbStack; without it, the first that opens.
  std::optional<std::uint32_t> location;

  bool operator==(const ScannerName&) const = default;
};

// Accepts "virtual", "usb" for the first real scanner, and "usb:" with a port path as listScanners() writes
// it, whether or not anything is plugged in there. Nothing for any other text.
std::optional<ScannerName> parseScannerName(std::string_view name);

}  // namespace frontend
