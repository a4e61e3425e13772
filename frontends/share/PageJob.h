#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "HttpMessage.h"
#include "JobTable.h"
#include "PageEncoder.h"
#include "PageFile.h"
#include "PictureWriter.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"
#include "ScanSource.h"
#include "ScanTicket.h"
#include "ShareTimes.h"
#include "StatusDocument.h"

namespace frontend::share {

// A response that carries no document: a code of HTTP and a sentence for the client and the journal.
struct PlainResponse {
  unsigned code;
  std::string sentence;
};

// In place of a code of HTTP: there is no client left to respond to.
inline constexpr unsigned clientClosedRequest = 499;

// What a job is created from.
struct JobOrder {
  std::string id;
  ScanTicket ticket;
  ScanRequest request;       // the ticket's settings included
  PictureSettings settings;  // of the file
};

// One scan and its page. One thread, the scan's, runs it: reads the rows, encodes them into a file without a
// name, and checks clients and clock. Any number of clients read the page with a PageReader each while it
// grows, and again after a broken transfer. The table in JobTable.h defines what it does with requests. All
// functions but run() may be called by any thread, and none of them waits for the scanner, unless its comment
// states it.
class PageJob {
 public:
  PageJob(JobOrder order, Now now);
  PageJob(const PageJob&) = delete;
  PageJob& operator=(const PageJob&) = delete;

  // Scans, and returns once the scanner is free again. Called once. Never throws.
  void run(const StartScan& start) noexcept;

  // Whether ScanImageInfo can report the picture that the ticket requests: 200, or why not.
  PlainResponse infoResponse() const;
  // Performs DELETE.
  void remove();
  // Ends the scan and every open NextDocument at once; harmless after the end.
  void cancel();

  const std::string& id() const { return order_.id; }
  const ScanTicket& ticket() const { return order_.ticket; }
  JobPhase phase() const;
  JobReport report() const;
  // How the scan ended; nothing before that.
  std::optional<ScanOutcome> outcome() const;
  // When the phase, or a reader, changed last.
  Clock::time_point changedAt() const;
  // Bytes of the encoded page so far.
  std::uint64_t pageBytes() const;

  // Blocks until the phase is no longer pending, for `longest` at most.
  void awaitStart(std::chrono::milliseconds longest) const;
  // Blocks until run() has returned, for `longest` at most. Returns whether it has.
  bool awaitFreeScanner(std::chrono::milliseconds longest) const;

 private:
  friend class PageReader;
  class Aim;
  enum class Farewell : std::uint8_t {
    delivered,
    refused,
    left,
    leftAtTheEnd,  // with the whole page, but before its end was reported
  };

  PlainResponse refusalLocked(JobResponse response) const;
  ScanOutcome scanPage(ScanSource& source);
  ScanOutcome scanGuarded(ScanSource& source) noexcept;
  void publish(std::uint64_t bytes);
  void settle(ScanOutcome outcome);
  void watchClock();
  void cancelLocked(ScanOutcome outcome);
  void changeLocked(JobPhase phase);
  void readerLeaves(Farewell farewell);

  const JobOrder order_;
  const Now now_;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  JobPhase phase_ = JobPhase::pending;
  std::optional<ScanOutcome> outcome_;
  Clock::time_point changedAt_;
  std::shared_ptr<PageFile> page_;  // until the job is forgotten or the page thrown away
  std::uint64_t bytes_ = 0;         // in it
  ScanSource* source_ = nullptr;    // while it can be cancelled
  bool free_ = false;               // run() has returned
  bool delivered_ = false;
  std::uint32_t readers_ = 0;                   // connections that wait for the page or receive it
  std::uint32_t transfers_ = 0;                 // begun
  std::optional<Clock::time_point> abandonAt_;  // cancel then, unless a reader appears
};

// One NextDocument: waits for the page and reads it. Ends as a client that left unless finish() was called.
// One thread, which may block.
class PageReader final : public HttpBody {
 public:
  PageReader(std::shared_ptr<PageJob> job, ClientLink client);
  ~PageReader() override;
  PageReader(const PageReader&) = delete;
  PageReader& operator=(const PageReader&) = delete;

  // Blocks until bytes of the page are available, or never will be: 200, then read() follows, or why not.
  PlainResponse begin();

  // Blocks until there are more bytes from `offset` on. The end is reported only once the client's system has
  // acknowledged all of the page: what is in flight is lost with a connection, and has to be sent again.
  std::optional<std::size_t> read(std::uint64_t offset, void* bytes, std::size_t capacity) override;
  void finish() override;

  const PageJob& job() const { return *job_; }

 private:
  PlainResponse refuse(PlainResponse response);
  bool awaitChange(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds longest) const;
  std::optional<std::size_t> end(std::unique_lock<std::mutex>& lock);
  bool awaitAcknowledgement(std::unique_lock<std::mutex>& lock) const;

  const std::shared_ptr<PageJob> job_;
  const ClientLink client_;
  std::shared_ptr<PageFile> page_;
  bool refused_ = false;
  bool ended_ = false;  // read() has reported the end
  bool finished_ = false;
};

}  // namespace frontend::share
