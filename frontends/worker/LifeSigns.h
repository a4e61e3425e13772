#pragma once

#include <atomic>
#include <chrono>

namespace frontend {

// Tells a thread that watches how long the one that works has shown no sign of life. While it waits for
// somebody else, none is due.
class LifeSigns {
 public:
  using Clock = std::chrono::steady_clock;

  LifeSigns() { show(); }
  // By the thread that works.
  void show() noexcept { latest_.store(now(), std::memory_order_relaxed); }
  void beginWaiting() noexcept { latest_.store(waiting, std::memory_order_relaxed); }
  void endWaiting() noexcept { show(); }

  // By the one that watches. Zero while it waits.
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
