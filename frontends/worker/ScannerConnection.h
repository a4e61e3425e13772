#pragma once

#include <memory>
#include <variant>

#include "ScanOutcome.h"
#include "ScanRequest.h"
#include "UsbStack.h"

namespace frontend {

// The scanner that a request names, reached through a USB stack of its own, on which any thread may abort a
// pipe.
class ScannerAtHand {
 public:
  virtual ~ScannerAtHand() = default;
  virtual platform::UsbStack& stack() = 0;

  // Opens nothing yet. The outcome says why there can be no such scanner: its name, or an option of the
  // virtual scanner, is wrong.
  static std::variant<std::unique_ptr<ScannerAtHand>, ScanOutcome> named(const ScanRequest& request);
};

}  // namespace frontend
