#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ScanOutcome.h"
#include "ScanRequest.h"

namespace frontend::share {

// The rows of one scan, as a job reads them: a SupervisedScan, or a script in tests. All functions belong to
// one thread, except cancel(). Failures are reported through outcome(); nothing throws but std::bad_alloc.
class ScanSource {
 public:
  // Cancels a scan that has not ended. The scanner is free afterwards; blocks for two seconds at most.
  virtual ~ScanSource() = default;

  // Reads up to `capacity` bytes of the picture without blocking. Nothing if none has arrived yet; 0 at the
  // end, which outcome() explains.
  virtual std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity) = 0;
  // Blocks until there is something to read, or for this long. May return early.
  virtual void wait(std::chrono::milliseconds longest) = 0;
  // How the scan ended. Valid after readAvailable() has returned 0.
  virtual ScanOutcome outcome() const = 0;
  // Ends the scan; wait() returns at once. From any thread, more than once, and after the end. Never blocks.
  virtual void cancel() noexcept = 0;
};

// Starts the scan of one page and returns at once. Throws std::bad_alloc.
using StartScan = std::function<std::unique_ptr<ScanSource>(const ScanRequest& request)>;

// In a process of its own (SupervisedScan.h).
std::unique_ptr<ScanSource> startSupervisedScan(const ScanRequest& request);
// The same with this program as the worker, for tests.
StartScan scansBy(std::string worker);

}  // namespace frontend::share
