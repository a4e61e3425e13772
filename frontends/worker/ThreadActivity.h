#pragma once

#include <atomic>
#include <chrono>

#include "WorkerClock.h"

namespace frontend {

// When the scanning thread was last active, for another thread that detects a hang. A thread that waits for
// the front end is not idle, however long that takes. Lock-free; nothing fails.
class ThreadActivity {
 public:
  ThreadActivity() { note(); }
  // By the scanning thread.
  void note() noexcept { latest_.store(now(), std::memory_order_relaxed); }
  void beginWaiting() noexcept { latest_.store(waiting, std::memory_order_relaxed); }
  void endWaiting() noexcept { note(); }

  // How long the scanning thread has done nothing; zero while it waits. By any thread.
  std::chrono::milliseconds idleTime() const noexcept {
    const Ticks latest = latest_.load(std::memory_order_relaxed);
    if (latest == waiting) return std::chrono::milliseconds(0);
    const std::chrono::steady_clock::duration idle(now() - latest);
    return std::chrono::duration_cast<std::chrono::milliseconds>(idle);
  }

 private:
  using Ticks = std::chrono::steady_clock::rep;

  static constexpr Ticks waiting = -1;  // the clock counts from the start of the system
  static Ticks now() noexcept { return watchdogTime().time_since_epoch().count(); }

  std::atomic<Ticks> latest_;
};

}  // namespace frontend
