#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace platform {

// Where a device is plugged in: the bus, and the ports on the way from its root hub. The same after a replug.
// An ordinary value; ordered by bus, then port by port.
struct UsbPath {
  std::uint8_t bus = 0;
  // From the root hub outwards, 0 after the last. No path is longer (USB 3.2, 10.16).
  std::array<std::uint8_t, 7> ports{};

  // As the system writes it: "1-2.3" is port 3 of the hub on port 2 of bus 1. "1-0" if the ports are unknown.
  std::string text() const;
  // Accepts what text() writes and nothing else.
  static std::optional<UsbPath> parse(std::string_view text);

  // UsbDevice::getLocationID(): the bus in the highest byte, below it four bits for each port, from
  // the root hub outwards. A port above 15 counts as 15 and the seventh is left out, so two paths may
  // share one location.
  std::uint32_t location() const;

  bool operator==(const UsbPath&) const = default;
  bool operator<(const UsbPath& other) const {
    return std::tie(bus, ports) < std::tie(other.bus, other.ports);
  }
};

}  // namespace platform
