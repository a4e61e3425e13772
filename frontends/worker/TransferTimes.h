#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace frontend {

// What time it is. Tests hold one of their own.
using TimeSource = std::function<std::chrono::steady_clock::time_point()>;

// The two time-outs of a transfer, in milliseconds; 0 is for ever.
struct TransferTimeouts {
  std::uint32_t noDataMs;
  std::uint32_t completionMs;
};

// How long the transfers of one job may wait, and how long the scanner has been silent. Silence is the sum of
// the time-outs that passed, not of time: a stack whose time-outs pass at once is as silent as a real one.
// The time of the whole job is real: it ends a scanner that is never silent for long and never done.
// Waits for nothing itself. One thread.
class TransferTimes {
 public:
  // `timeoutMs`, at least 1, is how long the scanner may be silent; `rasterBytes` is the size of the
  // requested picture. The job begins now.
  TransferTimes(std::uint32_t timeoutMs, std::uint64_t rasterBytes, TimeSource now);

  // A byte moved, or another one is due now.
  void restart() { silentMs_ = 0; }
  void noteSilence(std::uint32_t waitedMs) { silentMs_ += waitedMs; }
  std::uint64_t silentMs() const { return silentMs_; }
  bool timedOut() const { return silentMs_ >= timeoutMs_; }
  // The longest time of the whole job: a minute, the time-out for silence, and what the picture takes at 64
  // kB a second, a sixteenth of what USB 1.1 carries.
  std::chrono::milliseconds jobLimit() const { return jobLimit_; }
  bool overdue() const { return now_() - begin_ > jobLimit_; }
  // Whether a scanner that has sent every row has nothing more to send, although it did not end its job.
  bool quiet() const;
  // From now on, all transfers together have a short time: their replies are not needed.
  void beginLastCalls();
  // Whether that time is over.
  bool lastCallsOver() const { return lastCallsEnd_ && now_() >= *lastCallsEnd_; }

  // The time-outs of the next transfer, of those that the library asks for. None of them is 0.
  TransferTimeouts forJobStream(const TransferTimeouts& asked) const;
  TransferTimeouts forCall(const TransferTimeouts& asked) const;

 private:
  TransferTimeouts within(std::uint64_t noDataMs, const TransferTimeouts& asked) const;

  std::uint32_t timeoutMs_;
  TimeSource now_;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::milliseconds jobLimit_;
  std::uint64_t silentMs_ = 0;
  std::optional<std::chrono::steady_clock::time_point> lastCallsEnd_;
};

}  // namespace frontend
