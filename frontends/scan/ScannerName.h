#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace frontend {

inline constexpr std::string_view virtualScannerName = "virtual";
inline constexpr std::string_view firstUsbScannerName = "usb";
// Followed by the port path of one real scanner.
inline constexpr std::string_view usbScannerPrefix = "usb:";

// What a scanner's name says.
struct ScannerName {
  bool isVirtual;
  // Where the real one is plugged in, for platform::LibusbStack; without one it is the first that opens.
  std::optional<std::uint32_t> location;

  bool operator==(const ScannerName&) const = default;
};

// "virtual", "usb" for the first real one, or "usb:" and a port path as listScanners() writes it, whether or
// not anything is plugged in there. Nothing for any other text.
std::optional<ScannerName> parseScannerName(std::string_view name);

}  // namespace frontend
