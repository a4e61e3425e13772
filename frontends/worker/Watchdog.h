#pragma once

#include <chrono>
#include <thread>

#include "Cancellation.h"
#include "OwnedDescriptor.h"
#include "ReportChannel.h"
#include "ThreadActivity.h"
#include "TransferInFlight.h"

namespace frontend {

// A thread of the worker that listens to the front end while the library scans. Its cancel, or its end, sets
// the flag and ends the transfers under way, again and again until the scan is over; a process that does not
// leave for all that, or whose scanning thread hangs, it ends on the spot. It tells the front end all the
// while that it is there.
class WorkerSupervisor {
 public:
  // Everything outlives the object; `control` is the connection to the front end.
  struct Parts {
    int control;
    Cancellation& cancel;
    TransferInFlight& transfers;
    ThreadActivity& activity;
    ReportChannel& reports;
    std::chrono::milliseconds longestSilence;  // of the scanning thread
  };

  explicit WorkerSupervisor(const Parts& parts);
  // Ends the thread.
  ~WorkerSupervisor();
  WorkerSupervisor(const WorkerSupervisor&) = delete;
  WorkerSupervisor& operator=(const WorkerSupervisor&) = delete;

  // Becomes readable with the cancel.
  int cancelled() const { return cancelled_.get(); }

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void listen();
  void requestCancel();
  void endWhatHangs();

  Parts parts_;
  platform::OwnedDescriptor cancelled_;  // event counters
  platform::OwnedDescriptor stop_;
  Clock::time_point cancelTime_;
  bool hungUp_ = false;
  std::thread thread_;  // last: it uses all of the above
};

}  // namespace frontend
