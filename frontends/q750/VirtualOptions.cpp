#include "VirtualOptions.h"

#include <algorithm>

#include "CommandError.h"
#include "Fault.h"
#include "Paper.h"
#include "VirtualScanner.h"

namespace frontend {
namespace {

constexpr std::size_t faultColumn = 26;  // in the help

// With the point of time as the model writes it.
std::string modelText(std::string fault) {
  std::replace(fault.begin(), fault.end(), ':', '@');
  return fault;
}

virtualscanner::Fault faultNamed(const std::string& given) {
  if (const auto fault = virtualscanner::parseFault(modelText(given))) return *fault;
  std::string names;
  for (const auto& known : virtualscanner::faultTable())
    names += (names.empty() ? "" : ", ") + std::string(known.name);
  throw UsageError("--virtual-fault " + given +
                   ": there is no such fault. Write NAME or NAME:N with one of: " + names + ".");
}

}  // namespace

VirtualScannerOptions checkedOptions(const VirtualScannerOptions& options) {
  makeVirtualScanner(options);
  VirtualScannerOptions checked = options;
  for (std::string& fault : checked.faults) fault = modelText(fault);
  return checked;
}

bool anyGiven(const VirtualScannerOptions& options) {
  return !options.paper.empty() || !options.faults.empty() || options.packetSize != 0 || options.realTime ||
         options.warmUpMs != 0 || options.bytesPerSecond != 0;
}

std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualScannerOptions& options) {
  virtualscanner::ScannerOptions scannerOptions;
  for (const std::string& fault : options.faults) scannerOptions.faults.push_back(faultNamed(fault));
  if (options.packetSize > 0) scannerOptions.packetPayload = options.packetSize;
  try {
    auto paper = options.paper.empty() ? virtualscanner::Paper::testChart()
                                       : virtualscanner::Paper::fromFile(options.paper);
    return std::make_unique<virtualscanner::VirtualScanner>(std::move(paper), std::move(scannerOptions));
  } catch (const virtualscanner::PaperError& error) {
    throw UsageError("--virtual-paper: " + std::string(error.what()));
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
