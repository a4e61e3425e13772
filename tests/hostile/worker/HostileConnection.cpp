#include "Fault.h"
#include "HostileUsbStack.h"
#include "ScannerConnection.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

namespace frontend {
namespace {

class HostileConnection final : public ScannerConnection {
 public:
  explicit HostileConnection(std::uint64_t seed) : hostile_(stack_, seed) {}
  platform::UsbStack& stack() noexcept override { return hostile_; }

 private:
  virtualscanner::VirtualScanner scanner_;
  virtualscanner::VirtualUsbStack stack_{scanner_};
  hostile::HostileUsbStack hostile_;
};

}  // namespace

// The linker takes this definition instead of the worker's own: everything but the device is the worker that
// users have. The seed is the position of the fault that the request injects, because both front ends pass a
// fault on unchanged: --virtual-fault stall:SEED.
std::variant<std::unique_ptr<ScannerConnection>, ScanOutcome> ScannerConnection::to(
    const ScanRequest& request, platform::OwnedDescriptor /*paper*/) {
  if (request.virtualScanner.faults.empty()) return outcome::wrongRequest("There is no seed.");
  const auto seed = virtualscanner::parseFault(request.virtualScanner.faults.front());
  if (!seed) return outcome::wrongRequest("There is no seed.");
  return std::make_unique<HostileConnection>(seed->position);
}

}  // namespace frontend
