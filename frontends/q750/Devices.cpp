#include "Devices.h"

#include <algorithm>

#include "CommandError.h"
#include "Fault.h"
#include "Paper.h"
#include "ScannerList.h"
#include "VirtualScanner.h"

namespace frontend {
namespace {

constexpr char virtualName[] = "virtual";
constexpr std::size_t faultColumn = 26;  // in the help

virtualscanner::Fault faultNamed(std::string text) {
  const std::string given = text;
  std::replace(text.begin(), text.end(), ':', '@');
  if (const auto fault = virtualscanner::parseFault(text)) return *fault;
  std::string names;
  for (const auto& known : virtualscanner::faultTable())
    names += (names.empty() ? "" : ", ") + std::string(known.name);
  throw UsageError("--fault " + given +
                   ": there is no such fault. Write NAME or NAME:N with one of: " + names + ".");
}

}  // namespace

std::vector<DeviceEntry> listDevices() {
  return {{virtualName, "Quenvar Q750 (virtual)"}};
}

std::string deviceTable(const std::vector<DeviceEntry>& devices) {
  std::string table;
  for (const DeviceEntry& device : devices) table += device.name + "  " + device.description + "\n";
  return table;
}

std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualDeviceOptions& options) {
  virtualscanner::ScannerOptions scannerOptions;
  for (const std::string& fault : options.faults) scannerOptions.faults.push_back(faultNamed(fault));
  if (options.packetSize > 0) scannerOptions.packetPayload = options.packetSize;
  try {
    auto paper = options.paper.empty() ? virtualscanner::Paper::testChart()
                                       : virtualscanner::Paper::fromFile(options.paper);
    return std::make_unique<virtualscanner::VirtualScanner>(std::move(paper), std::move(scannerOptions));
  } catch (const virtualscanner::PaperError& error) {
    throw UsageError("--paper: " + std::string(error.what()));
  }
}

void checkDevice(const std::string& name, const VirtualDeviceOptions& options) {
  if (name.empty() || name == virtualName) {
    makeVirtualScanner(options);
  } else if (!parseScannerName(name)) {
    throw CommandError(ExitCode::noDevice, "--device " + name +
                                               ": there is no such scanner. These are there:\n" +
                                               deviceTable(listDevices()) + "Choose one of them.");
  }
}

std::string faultHelp() {
  std::string help;
  for (const auto& fault : virtualscanner::faultTable()) {
    std::string usage = "  " + std::string(fault.name) + ":" + std::to_string(fault.defaultPosition);
    usage.resize(std::max(usage.size() + 1, faultColumn), ' ');
    help += usage + std::string(fault.effect) + "\n";
  }
  return help;
}

}  // namespace frontend
