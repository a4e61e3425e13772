#pragma once

#include <atomic>
#include <thread>

namespace frontend {

// Carries requests to cancel, from any thread and from signal handlers, to the work in progress. Simple work
// checks requested() now and then. Work that waits for something is aimed at, and its own cancel() is called:
//
//   Cancellation cancellation;                          // a signal handler calls cancellation.request()
//   SupervisedScan scan(request);
//   const Cancellation::Aim aim(cancellation, scan);    // now scan.cancel() is called for every request
//   while (scan.read(buffer, sizeof buffer) > 0) ...
//
// No request is lost: one that arrived before the aim is passed on when it is taken. Lock-free: request() and
// requested() may interrupt every function here, themselves included; all others belong to the one thread
// that works. Nothing fails. Outlives everyone who refers to it.
class Cancellation {
 public:
  // The work that requests reach while this object exists. One at a time for each Cancellation.
  class Aim {
   public:
    // `work` outlives the aim. Its cancel() may be called from a signal handler, more than once and after the
    // work has ended.
    template <typename Work>
    Aim(Cancellation& cancellation, Work& work)
        : cancellation_(cancellation),
          work_(&work),
          cancel_([](void* aimedAt) noexcept { static_cast<Work*>(aimedAt)->cancel(); }) {
      cancellation_.aim_ = this;
      if (cancellation_.requested()) cancel();
    }
    // Afterwards nobody touches the work any more: a request that is just reaching it is waited for.
    ~Aim() {
      cancellation_.aim_ = nullptr;
      while (cancellation_.visitors_ != 0) std::this_thread::yield();
    }
    Aim(const Aim&) = delete;
    Aim& operator=(const Aim&) = delete;

   private:
    friend class Cancellation;
    void cancel() const noexcept { cancel_(work_); }

    Cancellation& cancellation_;
    void* work_;
    void (*cancel_)(void* work) noexcept;
  };

  // Harmless a second time.
  void request() noexcept {
    requested_ = true;
    ++visitors_;
    if (const Aim* aim = aim_) aim->cancel();
    --visitors_;
  }
  bool requested() const noexcept { return requested_; }

  // A request that also ends what the work still does after a first one, such as saving what it has.
  void insist() noexcept {
    insisted_ = true;
    request();
  }
  bool insisted() const noexcept { return insisted_; }

  // Forgets the requests so far: those from here on mean the next piece of work.
  void reset() noexcept { requested_ = insisted_ = false; }

 private:
  std::atomic<bool> requested_{false};
  std::atomic<bool> insisted_{false};
  std::atomic<const Aim*> aim_{nullptr};
  std::atomic<int> visitors_{0};  // in request(), which may be using the aim
  static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free &&
                    std::atomic<const Aim*>::is_always_lock_free,
                "a signal handler may only touch lock-free atomics");
};

}  // namespace frontend
