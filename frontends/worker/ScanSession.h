#pragma once

#include <cstdint>

#include "Cancellation.h"
#include "JobWatch.h"
#include "LibraryEnvironment.h"
#include "Log.h"
#include "ScanOutcome.h"
#include "ScanSettings.h"
#include "TransferInFlight.h"
#include "UsbStack.h"
#include "WatchedUsbStack.h"

namespace frontend {

// Who takes part in a session from outside. All of it may be left out; what is referred to
// outlives the session.
struct SessionHooks {
  PictureListener* picture = nullptr;     // gets the rows while they arrive
  TransferInFlight* transfers = nullptr;  // holds the transfer that may be aborted
  const Cancellation* cancel = nullptr;   // checked before every transfer
  platform::LogSink* log = nullptr;       // gets the library's log lines; null drops them unread
  std::uint32_t timeoutMs = 30000;        // how long the scanner may be silent, at least 1
};

// One scan, run through the library's exported functions in this process and watched from below, so that it
// ends, with a whole picture that the listener got while it arrived, or with an outcome that explains why
// not.
//
// While it exists, the process has a LibraryEnvironment: one session at a time per process. One thread,
// except for the cancellation and the transfer in flight.
class ScanSession {
 public:
  // `stack` stays the caller's and outlives the session. The settings must be valid as defined in
  // ScanSettings.h. Throws std::logic_error where the process has a session already.
  ScanSession(platform::UsbStack& stack, const ScanSettings& settings, const SessionHooks& hooks);
  // Closes the scanner, whatever state it is in, and brings back the settings of the process. May block for
  // the transfers that this takes.
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

  ScanSettings settings_;
  JobWatch watch_;
  WatchedUsbStack stack_;
  LibraryEnvironment environment_;
  std::intptr_t handle_ = 0;  // 0 while there is no driver
};

}  // namespace frontend
