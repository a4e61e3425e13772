#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"
#include "WorkerTimes.h"

namespace frontend {

// The path of the worker program: beside the file (program or library) that holds this code, or in the
// libexec folder that belongs to it, or where the build was configured to install it. Empty if there is none.
std::string findWorker();

// One scan in a process of its own. What the library does to a process (it cannot be cancelled, keeps
// buffers, allows one job at a time, may hang or crash on a broken device) happens to the worker and
// ends with it. The front end receives the layout of the picture, its rows while the device sends them,
// and one outcome.
//
//   SupervisedScan scan(request);
//   while (std::size_t count = scan.read(buffer, sizeof buffer)) use(buffer, count);
//   if (!scan.outcome().good()) ...
//
// Failures are reported through outcome(); nothing throws but std::bad_alloc. Owns the worker: the destructor
// ends the process, within two seconds in every case. All functions belong to one thread, except cancel().
// Several scans may run in one process, with different scanners.
class SupervisedScan {
 public:
  // Starts the worker and returns at once; the scanner is opened, warms up and scans in the background.
  explicit SupervisedScan(const ScanRequest& request, const std::string& worker = findWorker());
  // Cancels a running scan and waits for the worker to exit, as finish() does. Allocates nothing.
  ~SupervisedScan();
  SupervisedScan(const SupervisedScan&) = delete;
  SupervisedScan& operator=(const SupervisedScan&) = delete;

  // Ends the scan; a blocked read() or awaitLayout() returns at once. From any thread and from a signal
  // handler: locks, allocates and frees nothing. Harmless a second time and after the end.
  void cancel() noexcept;

  // Blocks until the layout of the picture is known. Nothing if the scan ended before.
  std::optional<PictureLayout> awaitLayout();

  // Blocks until there is at least one byte of the picture, and reads up to `capacity` (at least 1) bytes. 0
  // is the end, which outcome() explains; after a good scan exactly layout.bytes() bytes have been read.
  std::size_t read(std::uint8_t* buffer, std::size_t capacity);
  // The same without blocking: nothing if no byte has arrived yet. Only at the end of the picture does it
  // block for up to a fraction of a second, while a worker that has gone wrong is examined.
  std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity);
  // For poll() and select(): readable exactly when there are bytes or the end. Stays the object's; never
  // read from it.
  int descriptor() const;

  // How the scan ended. Good only after the whole picture was read; cancelled until the end is known.
  const ScanOutcome& outcome() const;

  // Cancels a running scan, waits for the worker to exit and kills it after two seconds. The scanner
  // is free afterwards.
  void finish();
  // After finish(): whether the worker exited by itself and with success.
  bool workerEndedWell() const;

 protected:
  using Now = std::function<std::chrono::steady_clock::time_point()>;
  // For tests: a clock of their own, and other time-outs than those of workertimes.
  SupervisedScan(const ScanRequest& request, const std::string& worker,
                 std::chrono::milliseconds heartbeatTimeout, Now now = std::chrono::steady_clock::now,
                 std::chrono::milliseconds killTimeout = workertimes::workerKillTimeout);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend
