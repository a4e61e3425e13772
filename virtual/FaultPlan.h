#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Fault.h"
#include "JobStream.h"

namespace virtualscanner {

// Which of a call's faults are due.
struct CallFaults {
  bool refuse = false;
  bool split = false;
  bool garble = false;
};

// Counts what the positions of faults count and tells when one is due. Each fault is used up once it
// happened.
class FaultPlan {
 public:
  // Replaces the faults and counts anew.
  void set(std::vector<Fault> faults);
  // Counts anew; what is used up stays so.
  void restart();

  // Counts a transfer: stall, timeOut or unplug if one is due.
  std::optional<FaultKind> countTransfer();
  // Counts a write: true if it is to be cut short.
  bool countWrite();
  CallFaults countCall();
  // The faults of the stream that begins now, used up with it.
  StreamFaults beginStream();
  // The kind of wrong header for the stream that begins now.
  std::optional<std::uint32_t> takeWrongHeader();
  // Whether a read before the stream's first byte stays without answer.
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
