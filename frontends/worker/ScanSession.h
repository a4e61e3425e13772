#pragma once

#include <cstdint>
#include <memory>

#include "Cancellation.h"
#include "JobWatch.h"
#include "Log.h"
#include "ScanOutcome.h"
#include "ScanSettings.h"
#include "TransferObserver.h"
#include "UsbStack.h"

class CScannerDriver;

namespace frontend {

// What whoever runs a session wants to see and say while it runs. All of it may be left out; what is referred
// to outlives the session.
struct SessionHooks {
  PictureListener* picture = nullptr;     // gets the rows while they arrive
  TransferObserver* transfers = nullptr;  // is told of every transfer
  const Cancellation* cancel = nullptr;   // looked at before every transfer
  platform::LogSink* log = nullptr;       // gets the library's log lines; null drops them unread
  WatchLimits limits;
};

// One scan, run through the library's exported functions in this process and watched from below, so that it
// ends, and ends with a whole picture, shown to the listener while it came, or an outcome that says why not.
//
// While it lives, the process-wide USB stack and log sink are the session's, the library gets no memory for
// the copy of the picture that it would make at the end for a host, and keeps no files of fixed name: nobody
// here looks for either. One session at a time per process. One thread, except for the cancel flag.
class ScanSession {
 public:
  // `stack` stays the caller's and outlives the session. The settings must be such as ScanSettings.h says.
  ScanSession(platform::UsbStack& stack, const ScanSettings& settings, const SessionHooks& hooks);
  // Closes the scanner, whatever state it is in, and brings stack and sink back.
  ~ScanSession();
  ScanSession(const ScanSession&) = delete;
  ScanSession& operator=(const ScanSession&) = delete;

  // Opens the scanner, scans and judges the result; blocks until then. Once per session. Does not throw.
  ScanOutcome run();

 private:
  ScanOutcome scan();
  ScanOutcome outcomeOf(std::int32_t result) const;
  ScanOutcome whyNotOpen() const;
  void setArea() const;
  const CScannerDriver& driver() const;

  struct Supervision;
  ScanSettings settings_;
  std::unique_ptr<Supervision> supervision_;
  std::intptr_t handle_ = 0;
};

}  // namespace frontend
