#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"

namespace frontend {

// The program that scans for SupervisedScan: beside the file (program or library) that holds this code, or in
// the libexec folder that belongs to it, or where the build was configured to install it. Empty where there
// is none.
std::string findWorker();

// One scan in a process of its own. What the library does to a process (it cannot be cancelled, keeps
// buffers, allows one job at a time, may hang or crash on a broken device) happens to the worker and ends
// with it; here arrive the layout of the picture, its rows while the device sends them, and one outcome.
//
//   SupervisedScan scan(request);
//   while (std::size_t count = scan.read(buffer, sizeof buffer)) use(buffer, count);
//   if (!scan.outcome().good()) ...
//
// Nothing throws but std::bad_alloc. Owns the worker: when the object is gone, so is the process, within two
// seconds in every case. All functions belong to one thread, but for cancel(). Several scans may run in one
// process, of different scanners.
class SupervisedScan {
 public:
  // Starts the worker and returns at once; what fails is told as the outcome. The scanner is opened, warms up
  // and scans behind the caller's back.
  explicit SupervisedScan(const ScanRequest& request, const std::string& worker = findWorker());
  // Cancels what still runs and waits for the worker's end.
  ~SupervisedScan();
  SupervisedScan(const SupervisedScan&) = delete;
  SupervisedScan& operator=(const SupervisedScan&) = delete;

  // Ends the scan; what waits in read() or awaitLayout() returns at once. From any thread and from a signal
  // handler: locks, allocates and frees nothing. Harmless a second time and after the end.
  void cancel() noexcept;

  // Blocks until the scanner has told the size of its picture. Nothing where the scan ended before.
  std::optional<PictureLayout> awaitLayout();

  // Blocks until there is at least one byte of the picture, and takes up to `capacity` (at least 1) bytes of
  // it. 0 is the end: outcome() tells which. A good scan has delivered exactly layout.bytes() by then.
  std::size_t read(std::uint8_t* buffer, std::size_t capacity);
  // The same without waiting: nothing where no byte is there yet.
  std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity);
  // Becomes readable (poll, select) when bytes or the end are there, and is not otherwise. Stays the
  // object's; it is only to be waited for.
  int descriptor() const;

  // How the scan ended. Good only after all of the picture was read; until the end is known, cancelled.
  const ScanOutcome& outcome() const;

  // Waits until the worker is gone, at most two seconds: then it is killed. The scanner is free afterwards.
  // What still runs is cancelled.
  void finish();
  // After finish(): whether the worker ended by itself and as it should.
  bool workerEndedWell() const;

 protected:
  // For tests: another time than workertimes::workerHeartbeatTimeout.
  SupervisedScan(const ScanRequest& request, const std::string& worker,
                 std::chrono::milliseconds silenceOfTheWorker);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace frontend
