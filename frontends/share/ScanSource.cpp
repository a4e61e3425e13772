#include "ScanSource.h"

#include <poll.h>

#include <utility>

#include "SupervisedScan.h"

namespace frontend::share {
namespace {

class WorkerScan final : public ScanSource {
 public:
  WorkerScan(const ScanRequest& request, const std::string& worker) : scan_(request, worker) {}

  std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity) override {
    return scan_.readAvailable(buffer, capacity);
  }
  void wait(std::chrono::milliseconds longest) override {
    pollfd rows{scan_.descriptor(), POLLIN, 0};
    // An interrupted wait merely returns early.
    [[maybe_unused]] const int ready = poll(&rows, 1, static_cast<int>(longest.count()));
  }
  ScanOutcome outcome() const override { return scan_.outcome(); }
  void cancel() noexcept override { scan_.cancel(); }

 private:
  SupervisedScan scan_;
};

}  // namespace

std::unique_ptr<ScanSource> startSupervisedScan(const ScanRequest& request) {
  return std::make_unique<WorkerScan>(request, findWorker());
}

StartScan scansBy(std::string worker) {
  return [worker = std::move(worker)](const ScanRequest& request) {
    return std::make_unique<WorkerScan>(request, worker);
  };
}

}  // namespace frontend::share
