#pragma once

#include <atomic>
#include <thread>

namespace frontend {

// Carries a cancel from any thread or a signal handler to the scan of the moment, while another thread puts
// one scan in another's place:
//
//   target.begin();      // from here on a cancel means the new scan
//   target.withdraw();   // no cancel holds the old one any more: it may go
//   target.aim(&scan);   // the cancels since begin() have reached it
//
// Has no lock: request() may interrupt every other function, itself included. `Scan` has a cancel() that may
// be called in the same way.
template <typename Scan>
class CancelTarget {
 public:
  // From anywhere, at any time.
  void request() noexcept {
    requested_ = true;
    ++visitors_;
    if (Scan* scan = scan_) scan->cancel();
    --visitors_;
  }
  bool requested() const noexcept { return requested_; }

  // The others belong to the one thread that scans.
  void begin() noexcept { requested_ = false; }
  void withdraw() noexcept {
    scan_ = nullptr;
    while (visitors_ != 0) std::this_thread::yield();
  }
  void aim(Scan* scan) noexcept {
    scan_ = scan;
    if (requested_) scan->cancel();
  }

 private:
  std::atomic<Scan*> scan_{nullptr};
  std::atomic<int> visitors_{0};
  std::atomic<bool> requested_{false};
  static_assert(std::atomic<Scan*>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
                "a signal handler may only touch lock-free atomics");
};

}  // namespace frontend
