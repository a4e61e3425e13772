#include "ScannerConnection.h"

#include <string>
#include <utility>

#include "Fault.h"
#include "LibusbStack.h"
#include "PacedUsbStack.h"
#include "Paper.h"
#include "ScannerName.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

namespace frontend {
namespace {

class RealScannerConnection final : public ScannerConnection {
 public:
  explicit RealScannerConnection(std::optional<std::uint32_t> location)
      : stack_(platform::LibusbStack::configuredIdentity(), location) {}
  platform::UsbStack& stack() noexcept override { return stack_; }

 private:
  platform::LibusbStack stack_;
};

class VirtualScannerConnection final : public ScannerConnection {
 public:
  VirtualScannerConnection(std::shared_ptr<const virtualscanner::Paper> paper,
                           virtualscanner::ScannerOptions options, virtualscanner::PacedUsbStack::Pace pace)
      : scanner_(std::move(paper), std::move(options)), paced_(stack_, pace) {}
  platform::UsbStack& stack() noexcept override { return paced_; }

 private:
  virtualscanner::VirtualScanner scanner_;
  virtualscanner::VirtualUsbStack stack_{scanner_};
  virtualscanner::PacedUsbStack paced_;
};

std::variant<std::unique_ptr<ScannerConnection>, ScanOutcome> connectToVirtual(
    const VirtualScannerOptions& wanted, platform::OwnedDescriptor paperFile) {
  virtualscanner::ScannerOptions options;
  for (const std::string& text : wanted.faults) {
    const auto fault = virtualscanner::parseFault(text);
    if (!fault) return outcome::wrongRequest("The virtual scanner has no fault \"" + text + "\".");
    options.faults.push_back(*fault);
  }
  if (wanted.packetSize > 0) options.packetPayload = wanted.packetSize;
  try {
    auto paper = wanted.paper.empty() ? virtualscanner::Paper::testChart()
                                      : virtualscanner::Paper::fromFile(std::move(paperFile), wanted.paper);
    return std::make_unique<VirtualScannerConnection>(
        std::move(paper), std::move(options),
        virtualscanner::PacedUsbStack::Pace{wanted.realTime, wanted.warmUpMs, wanted.bytesPerSecond});
  } catch (const virtualscanner::PaperError& error) {
    return outcome::wrongRequest(error.what());
  }
}

}  // namespace

std::variant<std::unique_ptr<ScannerConnection>, ScanOutcome> ScannerConnection::to(
    const ScanRequest& request, platform::OwnedDescriptor paper) {
  const auto name = parseScannerName(request.scanner);
  if (!name) return outcome::wrongRequest("There is no scanner with this name. Choose one from the list.");
  if (name->isVirtual) return connectToVirtual(request.virtualScanner, std::move(paper));
  return std::make_unique<RealScannerConnection>(name->location);
}

}  // namespace frontend
