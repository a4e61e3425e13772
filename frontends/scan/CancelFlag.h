#pragma once

#include <atomic>

namespace frontend {

// A request to end the scan, from any thread or from a signal handler. Requesting twice is harmless; a
// request is never taken back. Must outlive the scan that looks at it.
class CancelFlag {
 public:
  void request() noexcept { requested_.store(true, std::memory_order_relaxed); }
  bool requested() const noexcept { return requested_.load(std::memory_order_relaxed); }

 private:
  std::atomic<bool> requested_{false};
  static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch lock-free atomics");
};

}  // namespace frontend
