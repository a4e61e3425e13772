#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Fault.h"
#include "JobStream.h"

namespace virtualscanner {

// The faults that are due at a call.
struct CallFaults {
  bool refuse = false;
  bool split = false;
  bool garble = false;
};

// Counts what the positions of faults refer to and reports when a fault is due. Each fault happens once. Only
// decides: what a fault does is up to the caller. One thread at a time.
class FaultPlan {
 public:
  // Replaces the faults and restarts all counts.
  void set(std::vector<Fault> faults);
  // Restarts all counts; used faults do not return.
  void restart();

  // Counts a transfer. Returns stall, timeOut or unplug if one is due.
  std::optional<FaultKind> countTransfer();
  // Counts a write. Returns whether it is to be cut short.
  bool countWrite();
  CallFaults countCall();
  // The faults of the stream that begins now, which uses them up.
  StreamFaults beginStream();
  // The kind of wrong header for the stream that begins now.
  std::optional<std::uint32_t> takeWrongHeader();
  // Counts a read before the stream's first byte. Returns whether it is to time out.
  bool countSilentRead();

  std::uint32_t transfers() const { return transfers_; }

 private:
  std::optional<std::uint32_t> find(FaultKind kind) const;
  bool takeIfDue(FaultKind kind, std::uint32_t position);
  std::optional<std::uint32_t> take(FaultKind kind);

  std::vector<Fault> faults_;
  std::uint32_t transfers_ = 0;
  std::uint32_t writes_ = 0;
  std::uint32_t calls_ = 0;
  std::uint32_t silentReads_ = 0;
};

}  // namespace virtualscanner
