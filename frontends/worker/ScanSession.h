#pragma once

#include <cstdint>
#include <memory>

#include "CancelFlag.h"
#include "JobWatch.h"
#include "Log.h"
#include "Raster.h"
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
  const CancelFlag* cancel = nullptr;     // looked at before every transfer
  platform::LogSink* log = nullptr;       // gets the library's log lines; null drops them unread
  WatchLimits limits;
};

// One scan, from opening the scanner to the picture in memory, run through the library's exported functions
// in this process and watched from below, so that it ends, and ends with a whole picture or an outcome that
// says why not. Decodes nothing and writes no file.
//
// While it lives, the process-wide USB stack and log sink are the session's: one session at a time per
// process. One thread, except for the cancel flag.
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

  // The whole page as the scanner sent it, valid as long as the session lives. Empty unless run() was good.
  const Raster& raster() const { return raster_; }

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
  Raster raster_;
};

}  // namespace frontend
