#pragma once

#include <atomic>
#include <chrono>
#include <string>

#include "SupervisedScan.h"
#include "WorkerLink.h"
#include "WorkerMessages.h"
#include "WorkerProcess.h"

namespace frontend {

// Lists the USB scanners in a separate process: the USB library may hang or crash on a faulty system, and
// must not start threads in the application. Leaves out the virtual scanner.
//
//   ScannerSearch search;
//   const ListReply found = search.run();
//
// Failures are outcomes; nothing throws but std::bad_alloc. Owns the worker: the destructor ends the process.
// One thread, except cancel().
class ScannerSearch {
 public:
  // Starts nothing yet.
  explicit ScannerSearch(std::string worker = findWorker());
  ~ScannerSearch() = default;
  ScannerSearch(const ScannerSearch&) = delete;
  ScannerSearch& operator=(const ScannerSearch&) = delete;

  // The scanners of this moment by bus and port, or an outcome, never a good one, that explains why there is
  // no list: USB does not work (noDevice), it hangs (timedOut), it was cancelled, or the worker failed. Opens
  // no scanner and disturbs none. Blocks for some hundredths of a second, for workertimes::listTimeout where
  // USB hangs, and for up to two seconds more where the worker cannot even be killed. Once per object.
  ListReply run();

  // Ends a run, also one that has not begun. From any thread and from a signal handler: locks, allocates and
  // frees nothing. Harmless afterwards.
  void cancel() noexcept;

 protected:
  // For tests: another time-out than workertimes::listTimeout.
  ScannerSearch(std::string worker, std::chrono::milliseconds timeout);

 private:
  int start();
  ListReply awaitReply();
  ListReply receive();
  ScanOutcome examineWorker();

  const std::string program_;
  const std::chrono::milliseconds timeout_;
  std::atomic<bool> cancelled_{false};
  WorkerLink link_;
  const int linkError_;  // of opening it, 0 for none
  WorkerProcess worker_;
};

}  // namespace frontend
