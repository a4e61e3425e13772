#pragma once

#include <atomic>

#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "WorkerMessages.h"

namespace frontend {

// The worker's end of its connection to the front end, for what it reports there. Any thread. The descriptor,
// a socket for messages, stays the caller's. A report that cannot be sent is dropped: its reader has exited,
// which the worker detects on the same socket. When memory runs out, a report throws std::bad_alloc and does
// not count as sent; a heartbeat allocates nothing.
class ReportChannel {
 public:
  explicit ReportChannel(int descriptor) : descriptor_(descriptor) {}

  // Blocks while the front end reads nothing; nothing is sent after an outcome.
  void send(const PictureLayout& layout);
  // Only the first outcome is sent, whichever thread it comes from.
  void send(const ScanOutcome& outcome);
  // The scanners on the USB, which are the outcome of a worker that lists them.
  void send(const AttachedScanners& scanners);
  // Sends nothing while the front end has not read the report before it, so that heartbeats never fill the
  // connection. Does not block.
  void sendHeartbeat();

 private:
  int descriptor_;
  std::atomic<bool> over_{false};  // an outcome was sent
};

}  // namespace frontend
