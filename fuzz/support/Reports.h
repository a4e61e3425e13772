#pragma once

#include <string>
#include <variant>

#include "WorkerMessages.h"

namespace frontend {

// The message of a report that was read.
inline std::string reportMessage(const WorkerReport& report) {
  if (const auto* layout = std::get_if<PictureLayout>(&report)) return layoutMessage(*layout);
  if (const auto* outcome = std::get_if<ScanOutcome>(&report)) return outcomeMessage(*outcome);
  return std::string(heartbeatMessage);
}

// The message of a reply to a list that was read.
inline std::string replyMessage(const ListReply& reply) {
  if (const auto* outcome = std::get_if<ScanOutcome>(&reply)) return outcomeMessage(*outcome);
  return scannersMessage(std::get<AttachedScanners>(reply));
}

}  // namespace frontend
