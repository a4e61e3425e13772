#include "TransferTimes.h"

#include <algorithm>
#include <utility>

#include "WorkerTimes.h"

namespace frontend {
namespace {

// If the last transfer of a scanner fills its last packet, nothing marks the end but silence, so a read of
// the job stream must not wait long at a time.
constexpr std::uint32_t streamWaitMs = 250;
constexpr std::uint32_t quietEndMs = 1000;
// The last calls are tried even when their time is up.
constexpr std::int64_t shortestWaitMs = 50;
constexpr std::chrono::milliseconds timeOfAnyJob = std::chrono::minutes(1);
constexpr std::uint64_t slowestBytesPerMs = 64;

// The shorter of two limits in milliseconds, of which 0 means none.
std::uint32_t capped(std::uint32_t askedMs, std::uint64_t limitMs) {
  const auto limit = static_cast<std::uint32_t>(std::min<std::uint64_t>(limitMs, UINT32_MAX));
  return askedMs == 0 ? limit : std::min(askedMs, limit);
}

}  // namespace

TransferTimes::TransferTimes(std::uint32_t timeoutMs, std::uint64_t rasterBytes, TimeSource now)
    : timeoutMs_(timeoutMs),
      now_(std::move(now)),
      begin_(now_()),
      jobLimit_(timeOfAnyJob + std::chrono::milliseconds(timeoutMs) +
                std::chrono::milliseconds(rasterBytes / slowestBytesPerMs)) {}

bool TransferTimes::quiet() const {
  return silentMs_ >= quietEndMs;
}

void TransferTimes::beginLastCalls() {
  lastCallsEnd_ = now_() + workertimes::finalCallsTimeout;
  restart();
}

TransferTimeouts TransferTimes::forJobStream(const TransferTimeouts& asked) const {
  return within(streamWaitMs, asked);
}

TransferTimeouts TransferTimes::forCall(const TransferTimeouts& asked) const {
  return within(timeoutMs_, asked);
}

TransferTimeouts TransferTimes::within(std::uint64_t noDataMs, const TransferTimeouts& asked) const {
  // What is left of the time that the scanner may be silent, at least 1: 0 would wait for ever.
  std::uint64_t wait =
      std::min<std::uint64_t>(noDataMs, timeoutMs_ - std::min<std::uint64_t>(timeoutMs_, silentMs_));
  // A read that is cut off after it moved bytes succeeds with them: a slow picture loses nothing.
  std::uint64_t completion = timeoutMs_;
  if (lastCallsEnd_) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*lastCallsEnd_ - now_()).count();
    wait = std::min(wait, static_cast<std::uint64_t>(std::max<std::int64_t>(left, shortestWaitMs)));
    completion = std::max<std::uint64_t>(wait, 1);
  }
  wait = std::max<std::uint64_t>(wait, 1);
  return {capped(asked.noDataMs, wait), capped(asked.completionMs, completion)};
}

}  // namespace frontend
