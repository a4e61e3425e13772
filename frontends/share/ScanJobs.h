#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "PageJob.h"
#include "ScanRequest.h"
#include "ScanSource.h"
#include "ScanTicket.h"
#include "ShareTimes.h"
#include "StatusDocument.h"

namespace frontend::share {

// A random UUID (RFC 4122, version 4), in lower case: a client that does not know a job's ID cannot guess it.
std::string randomJobId();

// What the list of jobs depends on.
struct ScanJobsSetup {
  ScanRequest request;  // the scanner, its options and time-outs; each ticket adds its settings
  std::string software = "q750-share";  // the origin that pictures name
  StartScan start = startSupervisedScan;
  Now now = Clock::now;
  std::function<std::string()> newId = randomJobId;
  std::function<void(const std::string& line)> log = [](const std::string&) {};
  std::chrono::milliseconds earlyFailure = times::earlyFailure;
};

// The jobs of one scanner: one that scans, in a thread of its own, and those that have ended, until they are
// forgotten. When idle, it has no thread and does nothing. Any thread; functions wait only where stated.
class ScanJobs {
 public:
  explicit ScanJobs(ScanJobsSetup setup);
  // As stop().
  ~ScanJobs();
  ScanJobs(const ScanJobs&) = delete;
  ScanJobs& operator=(const ScanJobs&) = delete;

  struct Posted {
    unsigned code = 201;
    std::string id;        // of the job, with 201
    std::string sentence;  // why there is none, otherwise
  };
  // Starts a job, unless one scans already. Waits for the worker of the previous scan, which ends within two
  // seconds, and for failures that are known at once.
  Posted post(const ScanTicket& ticket);

  // The job of this ID; null if there is none, or it is forgotten.
  std::shared_ptr<PageJob> find(std::string_view id);
  // The newest first.
  std::vector<JobReport> reports();
  // Whether a job scans.
  bool scanning();

  // Forgets old jobs, and returns the time until there are more to forget; nothing if no job is left.
  std::optional<std::chrono::milliseconds> forgetOld();
  // Ends the running job and accepts no other. Waits until the scanner is free.
  void stop();

 private:
  // Null, with a reason, if the scanner is not free.
  std::shared_ptr<PageJob> begin(const ScanTicket& ticket, std::string& reason);
  bool awaitTurn(std::unique_lock<std::mutex>& lock);
  void run(const std::shared_ptr<PageJob>& job);
  void logEnd(const PageJob& job, Clock::time_point start) const;
  void drop(const std::shared_ptr<PageJob>& job);
  std::optional<std::chrono::milliseconds> forgetLocked();

  const ScanJobsSetup setup_;
  std::mutex mutex_;
  std::deque<std::shared_ptr<PageJob>> jobs_;  // the newest first
  std::shared_ptr<PageJob> current_;           // whose thread has not been joined
  std::thread thread_;
  bool stopped_ = false;
};

}  // namespace frontend::share
