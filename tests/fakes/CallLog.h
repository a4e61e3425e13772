#pragma once

#include <memory>
#include <string>
#include <vector>

#include "VirtualScanner.h"

// The remote calls that a virtual scanner understands, as object.method, from the start of the recording on.
// The log outlives the scanner. A scanner has one log at a time.
//
//   const CallLog calls = recordCalls(scanner);
//   EXPECT_THAT(*calls, ElementsAre("system.enterHostUSBSendMode", ...));
using CallLog = std::shared_ptr<const std::vector<std::string>>;

inline CallLog recordCalls(virtualscanner::VirtualScanner& scanner) {
  auto calls = std::make_shared<std::vector<std::string>>();
  scanner.observeCalls([calls](const std::string& call) { calls->push_back(call); });
  return calls;
}
