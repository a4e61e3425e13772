#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace platform {

// Where a device is plugged in, the same after a replug: the bus, and the ports on the way from its root.
// Ordered by bus, then port by port. A value.
struct UsbPath {
  std::uint8_t bus = 0;
  // The nearest one first; 0 behind the last one. USB 3.2, 10.16: no path is longer.
  std::array<std::uint8_t, 7> ports{};

  // As the system itself writes it: "1-2.3" is port 3 of what is plugged into port 2 of bus 1. "1-0" where
  // the ports are not known.
  std::string text() const;
  // Reads what text() writes and nothing else.
  static std::optional<UsbPath> parse(std::string_view text);

  // UsbDevice::getLocationID(): the bus in the highest byte, below it four bits for each port, the nearest
  // one first. A port above 15 counts as 15 and the seventh does not count: two paths may have one location.
  std::uint32_t location() const;

  bool operator==(const UsbPath&) const = default;
  bool operator<(const UsbPath& other) const {
    return std::tie(bus, ports) < std::tie(other.bus, other.ports);
  }
};

}  // namespace platform
