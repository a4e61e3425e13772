#pragma once

#include <memory>
#include <variant>

#include "OwnedDescriptor.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"
#include "UsbStack.h"

namespace frontend {

// The way to the scanner that a request names: a USB stack on which that scanner is the only device, real or
// virtual, and with it what a virtual one consists of. Opens nothing itself. Any thread may abort a pipe of
// the stack; everything else belongs to one thread.
class ScannerConnection {
 public:
  virtual ~ScannerConnection() = default;
  // Ends with the connection. Never fails and does not block; called by the scanning thread.
  virtual platform::UsbStack& stack() noexcept = 0;

  // The outcome explains why there can be no such scanner: its name, or an option of the virtual scanner, is
  // wrong. Reads the picture for the virtual scanner's glass from `paper`, if the request names one.
  static std::variant<std::unique_ptr<ScannerConnection>, ScanOutcome> to(const ScanRequest& request,
                                                                          platform::OwnedDescriptor paper);
};

}  // namespace frontend
