#include <unistd.h>

#include "DeviceTime.h"
#include "Fault.h"
#include "HostileUsbStack.h"
#include "ScannerConnection.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

namespace frontend {
namespace {

using namespace std::chrono_literals;

// After the picture: 1.6 seconds for all calls together, and a moment for each that begins at their end.
constexpr std::chrono::milliseconds longestLastCalls = 1600ms + 500ms;

// A minute, the time-out and the picture's at 64 kB a second; after it, a last silence, on either pipe, and
// the last calls.
std::chrono::milliseconds longestJob(const ScanRequest& request) {
  return 60s + 3 * request.timeout + std::chrono::milliseconds(request.settings.rasterBytes() / 64) + 5s;
}

class HostileConnection final : public ScannerConnection {
 public:
  HostileConnection(std::uint64_t seed, const ScanRequest& request)
      : longest_(longestJob(request)),
        hostile_(stack_, seed,
                 {request.settings.rasterBytes(), static_cast<std::uint32_t>(request.timeout.count())}) {}
  // The exit status reports to tools/hostile that the scan, or its end, took longer than allowed.
  ~HostileConnection() override {
    constexpr int tookTooLong = 5;
    const bool slow =
        hostile::DeviceTime::elapsed() > longest_ || hostile_.lastCallsTime() > longestLastCalls;
    if (slow) _exit(tookTooLong);
  }
  platform::UsbStack& stack() noexcept override { return hostile_; }

 private:
  std::chrono::milliseconds longest_;
  virtualscanner::VirtualScanner scanner_;
  virtualscanner::VirtualUsbStack stack_{scanner_};
  hostile::HostileUsbStack hostile_;
};

}  // namespace

// The linker takes this definition instead of the worker's own: everything but the device and its time is the
// worker that users have. The seed is the position of the fault that the request injects, because both front
// ends pass a fault on unchanged: --virtual-fault stall:SEED.
std::variant<std::unique_ptr<ScannerConnection>, ScanOutcome> ScannerConnection::to(
    const ScanRequest& request, platform::OwnedDescriptor /*paper*/) {
  if (request.virtualScanner.faults.empty()) return outcome::wrongRequest("There is no seed.");
  const auto seed = virtualscanner::parseFault(request.virtualScanner.faults.front());
  if (!seed) return outcome::wrongRequest("There is no seed.");
  return std::make_unique<HostileConnection>(seed->position, request);
}

}  // namespace frontend
