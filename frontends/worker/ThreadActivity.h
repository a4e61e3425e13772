#pragma once

#include <atomic>
#include <chrono>

namespace frontend {

// When the scanning thread was last active, for another thread that detects a hang. A thread that waits for
// somebody else is not idle, however long that takes.
class ThreadActivity {
 public:
  using Clock = std::chrono::steady_clock;

  ThreadActivity() { show(); }
  // By the scanning thread.
  void show() noexcept { latest_.store(now(), std::memory_order_relaxed); }
  void beginWaiting() noexcept { latest_.store(waiting, std::memory_order_relaxed); }
  void endWaiting() noexcept { show(); }

  // By any other thread. Zero while the scanning thread waits.
  std::chrono::milliseconds silence() const noexcept {
    const Clock::rep latest = latest_.load(std::memory_order_relaxed);
    if (latest == waiting) return std::chrono::milliseconds(0);
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::duration(now() - latest));
  }

 private:
  static constexpr Clock::rep waiting = -1;
  static Clock::rep now() noexcept { return Clock::now().time_since_epoch().count(); }

  std::atomic<Clock::rep> latest_;
};

}  // namespace frontend
