#pragma once

#include <atomic>
#include <chrono>

namespace hostile {

// The time that hostile devices have taken: it advances only with their transfers and time-outs, so that
// minutes of a scan pass at once, and equally on a busy machine. One per process; any thread.
class DeviceTime {
 public:
  static std::chrono::milliseconds elapsed() noexcept {
    return std::chrono::milliseconds(elapsedMs().load(std::memory_order_relaxed));
  }
  static void pass(std::chrono::milliseconds time) noexcept {
    elapsedMs().fetch_add(time.count(), std::memory_order_relaxed);
  }

 private:
  static std::atomic<std::chrono::milliseconds::rep>& elapsedMs() noexcept {
    static std::atomic<std::chrono::milliseconds::rep> milliseconds{0};
    return milliseconds;
  }
};

}  // namespace hostile
