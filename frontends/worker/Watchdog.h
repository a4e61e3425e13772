#pragma once

#include <chrono>
#include <optional>
#include <thread>

#include "Cancellation.h"
#include "OwnedDescriptor.h"
#include "ReportChannel.h"
#include "ThreadActivity.h"
#include "TransferInFlight.h"

namespace frontend {

// A thread beside the scanning thread of a worker, which makes sure that the process ends whatever the
// library and the USB stack do. It waits for the front end: if that cancels or exits, the watchdog sets the
// cancel flag and aborts the transfer in flight, again and again until the scan is over. It ends the process
// immediately, with exit status 3, after reporting the outcome, if the process is still running 1.8 s after a
// cancel, or if the scanning thread has been idle for too long. It sends heartbeats throughout.
//
// It does not scan, and does not interfere with a scan that succeeds.
class Watchdog {
 public:
  // Everything outlives the object.
  struct Dependencies {
    int control;  // the connection to the front end
    Cancellation& cancel;
    TransferInFlight& transfers;
    ThreadActivity& activity;
    ReportChannel& reports;
    std::chrono::milliseconds longestIdleTime;  // of the scanning thread
  };

  // Throws std::system_error where the thread cannot be started.
  explicit Watchdog(const Dependencies& dependencies);
  // Ends the thread, after at most one round of it.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Becomes readable with the cancel, for a thread that waits for something else as well.
  int cancelled() const { return cancelled_.get(); }

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  void run();
  bool awaitEvent();
  void readControl();
  void requestCancel();
  void endHungProcess();
  [[noreturn]] void endProcess(std::chrono::milliseconds idle);

  Dependencies dependencies_;
  platform::OwnedDescriptor cancelled_;  // event counters
  platform::OwnedDescriptor stop_;
  std::optional<TimePoint> cancelTime_;
  bool hungUp_ = false;  // the front end closed its end
  std::thread thread_;   // last: it uses all of the above
};

}  // namespace frontend
