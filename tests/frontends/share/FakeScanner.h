#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ScanJobs.h"

// A scanner by script, and a clock that the test moves:
//
//   FakeScanner scanner;
//   ScanJobs jobs(scanner.setup());
//   const std::string id = jobs.post(FakeScanner::ticket()).id;
//   scanner.sendRows(1);               // the job is processing
//   scanner.advance(60s);              // nobody asked for the page: the job is canceled
//
// A page has `rows` rows of 8 gray pixels. Every scan follows the same script from its beginning.
class FakeScanner {
 public:
  static constexpr std::uint32_t rows = 64;
  static constexpr std::uint32_t width = 8;

  static frontend::share::ScanTicket ticket(frontend::PictureFormat format = frontend::PictureFormat::png) {
    frontend::share::ScanTicket ticket;
    ticket.settings = {75, frontend::ColorMode::gray, {0, 0, width, rows}};
    ticket.format = format;
    ticket.picture = {width, rows, 1, 8, 75};
    return ticket;
  }

  frontend::share::ScanJobsSetup setup() {
    frontend::share::ScanJobsSetup setup;
    setup.request.scanner = "fake";
    setup.start = [this](const frontend::ScanRequest& request) { return start(request); };
    setup.now = [this] { return now(); };
    setup.log = [this](const std::string& line) {
      const std::lock_guard lock(script_->mutex);
      lines_.push_back(line);
    };
    setup.earlyFailure = std::chrono::milliseconds(0);
    return setup;
  }

  // From now on, of this and every later scan.
  void sendRows(std::uint32_t count) {
    change([&](Script& script) { script.bytes += std::size_t{count} * width; });
  }
  void end(frontend::ScanOutcome outcome) {
    change([&](Script& script) { script.outcome = std::move(outcome); });
  }
  void sendPage() {
    change([&](Script& script) {
      script.bytes = std::size_t{rows} * width;
      script.outcome = frontend::outcome::good();
    });
  }
  void reset() {
    change([](Script& script) {
      script.bytes = 0;
      script.outcome.reset();
    });
  }
  // The worker keeps running after the end of its scan.
  void keepBusy(bool busy) {
    change([&](Script& script) { script.stays = busy; });
  }
  void advance(std::chrono::milliseconds time) { passed_ += time.count(); }
  frontend::share::Clock::time_point now() const {
    return frontend::share::Clock::time_point(std::chrono::hours(1) + std::chrono::milliseconds(passed_));
  }

  int started() const {
    return locked([](const Script& script) { return script.started; });
  }
  int running() const {
    return locked([](const Script& script) { return script.running; });
  }
  std::vector<std::string> log() const {
    const std::lock_guard lock(script_->mutex);
    return lines_;
  }
  static std::uint8_t byteAt(std::size_t position) { return static_cast<std::uint8_t>(position * 7); }

 private:
  struct Script {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t bytes = 0;
    std::optional<frontend::ScanOutcome> outcome;
    bool stays = false;
    int started = 0;
    int running = 0;
  };

  class Scan final : public frontend::share::ScanSource {
   public:
    explicit Scan(std::shared_ptr<Script> script) : script_(std::move(script)) {
      const std::lock_guard lock(script_->mutex);
      ++script_->started;
      ++script_->running;
    }
    ~Scan() override {
      std::unique_lock lock(script_->mutex);
      script_->changed.wait(lock, [this] { return !script_->stays; });
      --script_->running;
    }
    std::optional<std::size_t> readAvailable(std::uint8_t* buffer, std::size_t capacity) override {
      const std::lock_guard lock(script_->mutex);
      if (cancelled_) return 0;
      const std::size_t count = std::min(capacity, script_->bytes - std::min(read_, script_->bytes));
      for (std::size_t i = 0; i < count; ++i) buffer[i] = byteAt(read_ + i);
      read_ += count;
      if (count > 0) return count;
      return script_->outcome ? std::optional<std::size_t>(0) : std::nullopt;
    }
    // A clock that the test moves wakes no waiting thread.
    void wait(std::chrono::milliseconds) override {
      std::unique_lock lock(script_->mutex);
      script_->changed.wait_for(lock, std::chrono::milliseconds(1));
    }
    frontend::ScanOutcome outcome() const override {
      const std::lock_guard lock(script_->mutex);
      return cancelled_ ? frontend::outcome::cancelled() : *script_->outcome;
    }
    void cancel() noexcept override {
      cancelled_ = true;
      script_->changed.notify_all();
    }

   private:
    std::shared_ptr<Script> script_;
    std::size_t read_ = 0;
    std::atomic<bool> cancelled_{false};
  };

  std::unique_ptr<frontend::share::ScanSource> start(const frontend::ScanRequest&) {
    return std::make_unique<Scan>(script_);
  }
  template <typename Change>
  void change(const Change& change) {
    const std::lock_guard lock(script_->mutex);
    change(*script_);
    script_->changed.notify_all();
  }
  template <typename Look>
  int locked(const Look& look) const {
    const std::lock_guard lock(script_->mutex);
    return look(*script_);
  }

  std::shared_ptr<Script> script_ = std::make_shared<Script>();
  std::vector<std::string> lines_;
  std::atomic<std::int64_t> passed_{0};
};

// A client that stays connected.
inline const frontend::share::ClientLink stays = {[] { return false; }, [] { return 0; }};

// Waits for a change made by another thread. Returns false after ten seconds.
template <typename Condition>
bool eventually(const Condition& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}
