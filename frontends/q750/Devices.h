#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace virtualscanner {
class VirtualScanner;
}

namespace frontend {

// A scanner that can be scanned from, as the user sees it.
struct DeviceEntry {
  std::string name;         // for --device
  std::string description;  // for people
};

// What the virtual scanner alone understands.
struct VirtualDeviceOptions {
  std::string paper;                // a PNG or PNM file; empty for the built-in test chart
  std::vector<std::string> faults;  // "stall", "stall:7"
  std::uint32_t packetSize = 0;     // image bytes in one packet; 0 for its own choice
};

// All scanners there are now.
std::vector<DeviceEntry> listDevices();

// One line per scanner.
std::string deviceTable(const std::vector<DeviceEntry>& devices);

// Whether there can be a scanner of this name; an empty name means the virtual one. Throws CommandError:
// noDevice for an unknown name, usage for a paper that cannot be read or an unknown fault.
void checkDevice(const std::string& name, const VirtualDeviceOptions& options);

// A virtual scanner with these options. Throws CommandError: usage for a paper that cannot be read or an
// unknown fault.
std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualDeviceOptions& options);

// The faults that the virtual scanner knows, for the help: name, default position and effect.
std::string faultHelp();

}  // namespace frontend
