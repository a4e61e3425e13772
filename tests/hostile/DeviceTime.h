#pragma once

#include <atomic>
#include <chrono>

namespace hostile {

// The time that hostile devices have taken: it passes with their transfers and time-outs alone, so that a
// scan takes minutes at once, and the same ones on a busy machine. One for the process; any thread.
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
