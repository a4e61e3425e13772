#include "FaultPlan.h"

#include <algorithm>
#include <utility>

namespace virtualscanner {

void FaultPlan::set(std::vector<Fault> faults) {
  faults_ = std::move(faults);
  restart();
}

void FaultPlan::restart() {
  transfers_ = 0;
  writes_ = 0;
  calls_ = 0;
  silentReads_ = 0;
}

std::optional<FaultKind> FaultPlan::countTransfer() {
  ++transfers_;
  for (const FaultKind kind : {FaultKind::unplug, FaultKind::stall, FaultKind::timeOut}) {
    if (takeIfDue(kind, transfers_)) return kind;
  }
  return std::nullopt;
}

bool FaultPlan::countWrite() {
  return takeIfDue(FaultKind::shortWrite, ++writes_);
}

CallFaults FaultPlan::countCall() {
  ++calls_;
  return {takeIfDue(FaultKind::exceptionReply, calls_), takeIfDue(FaultKind::splitReply, calls_),
          takeIfDue(FaultKind::garbageReply, calls_)};
}

StreamFaults FaultPlan::beginStream() {
  silentReads_ = 0;
  return {take(FaultKind::garbage), take(FaultKind::truncatedImage)};
}

std::optional<std::uint32_t> FaultPlan::takeWrongHeader() {
  return take(FaultKind::wrongHeader);
}

bool FaultPlan::countSilentRead() {
  const std::optional<std::uint32_t> reads = find(FaultKind::silence);
  if (!reads) return false;
  if (*reads == 0) return true;
  if (++silentReads_ >= *reads) take(FaultKind::silence);
  return true;
}

std::optional<std::uint32_t> FaultPlan::find(FaultKind kind) const {
  const auto found =
      std::find_if(faults_.begin(), faults_.end(), [kind](const Fault& f) { return f.kind == kind; });
  return found == faults_.end() ? std::nullopt : std::optional(found->position);
}

bool FaultPlan::takeIfDue(FaultKind kind, std::uint32_t position) {
  const auto found = std::find(faults_.begin(), faults_.end(), Fault{kind, position});
  if (found == faults_.end()) return false;
  faults_.erase(found);
  return true;
}

std::optional<std::uint32_t> FaultPlan::take(FaultKind kind) {
  const std::optional<std::uint32_t> position = find(kind);
  if (position) takeIfDue(kind, *position);
  return position;
}

}  // namespace virtualscanner
