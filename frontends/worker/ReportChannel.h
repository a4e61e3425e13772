#pragma once

#include <atomic>

#include "PictureLayout.h"
#include "ScanOutcome.h"

namespace frontend {

// Tells the front end how its scan goes. The descriptor, a socket for messages, stays the caller's. What
// cannot be sent is lost: then nobody is there to hear it.
class ReportChannel {
 public:
  explicit ReportChannel(int descriptor) : descriptor_(descriptor) {}

  void tell(const PictureLayout& layout);
  // Says nothing while the front end has not taken what was told before, so that signs never fill the
  // connection. Does not block.
  void sendHeartbeat();
  // Only the first outcome is sent, whichever thread it comes from.
  void tell(const ScanOutcome& outcome);

 private:
  int descriptor_;
  std::atomic<bool> over_{false};
};

}  // namespace frontend
