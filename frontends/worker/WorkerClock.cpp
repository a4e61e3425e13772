#include "WorkerClock.h"

namespace frontend {

std::chrono::steady_clock::time_point jobTime() noexcept {
  return std::chrono::steady_clock::now();
}

std::chrono::steady_clock::time_point watchdogTime() noexcept {
  return std::chrono::steady_clock::now();
}

}  // namespace frontend
