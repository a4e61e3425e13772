#include "VirtualOptions.h"

#include <algorithm>
#include <utility>

#include "CommandError.h"
#include "Fault.h"
#include "ImageFile.h"
#include "Paper.h"
#include "ScanLimits.h"
#include "VirtualScanner.h"

namespace frontend {
namespace {

constexpr std::size_t faultColumn = 26;  // in the help

virtualscanner::Fault faultNamed(const std::string& given) {
  if (const auto fault = virtualscanner::parseFault(given)) return *fault;
  std::string names;
  for (const auto& known : virtualscanner::faultTable())
    names += (names.empty() ? "" : ", ") + std::string(known.name);
  throw UsageError("--virtual-fault " + given + ": unknown fault. Use NAME or NAME:N with one of: " + names +
                   ".");
}

UsageError paperError(const virtualscanner::PaperError& error) {
  return UsageError("--virtual-paper: " + std::string(error.what()));
}

}  // namespace

VirtualScannerOptions checkedOptions(const VirtualScannerOptions& options) {
  makeVirtualScanner(options, openPaper(options));
  return options;
}

bool anyUsed(const VirtualScannerOptions& options) {
  return !options.paper.empty() || !options.faults.empty() || options.packetSize != 0 || options.realTime ||
         options.warmUpMs != 0 || options.bytesPerSecond != 0;
}

platform::OwnedDescriptor openPaper(const VirtualScannerOptions& options) try {
  if (options.paper.empty()) return {};
  return virtualscanner::openImageFile(options.paper);
} catch (const virtualscanner::PaperError& error) {
  throw paperError(error);
}

std::unique_ptr<virtualscanner::VirtualScanner> makeVirtualScanner(const VirtualScannerOptions& options,
                                                                   platform::OwnedDescriptor paperFile) {
  if (options.faults.size() > limits::mostVirtualFaults) {
    throw UsageError("--virtual-fault: too many faults. Give at most " +
                     std::to_string(limits::mostVirtualFaults) + ".");
  }
  virtualscanner::ScannerOptions scannerOptions;
  for (const std::string& fault : options.faults) scannerOptions.faults.push_back(faultNamed(fault));
  if (options.packetSize > 0) scannerOptions.packetPayload = options.packetSize;
  try {
    auto paper = options.paper.empty() ? virtualscanner::Paper::testChart()
                                       : virtualscanner::Paper::fromFile(std::move(paperFile), options.paper);
    return std::make_unique<virtualscanner::VirtualScanner>(std::move(paper), std::move(scannerOptions));
  } catch (const virtualscanner::PaperError& error) {
    throw paperError(error);
  }
}

std::string faultHelp() {
  std::string help;
  for (const auto& fault : virtualscanner::faultTable()) {
    std::string usage = "  " + virtualscanner::textOf({fault.kind, fault.defaultPosition});
    usage.resize(std::max(usage.size() + 1, faultColumn), ' ');
    help += usage + std::string(fault.effect) + "\n";
  }
  return help;
}

}  // namespace frontend
