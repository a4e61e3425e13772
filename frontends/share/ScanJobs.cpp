#include "ScanJobs.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "OutcomeCode.h"
#include "PictureFormat.h"

namespace frontend::share {
namespace {

constexpr char busySentence[] = "The scanner is busy with another page. Try again.";
constexpr char stoppedSentence[] = "The server is shutting down.";
constexpr char noThreadSentence[] = "Too many programs are running. Close some, then scan again.";

std::string describe(const ScanTicket& ticket) {
  const PictureLayout& picture = ticket.picture;
  const char* mode = picture.channels == 3 ? "color" : picture.bitsPerChannel == 1 ? "lineart" : "gray";
  return std::string(mode) + ", " + std::to_string(picture.resolution) + " dots per inch, " +
         std::to_string(picture.width) + " x " + std::to_string(picture.height) + " pixels, " +
         std::string(pictureFormatNames[static_cast<std::size_t>(ticket.format)]);
}

}  // namespace

std::string randomJobId() {
  std::array<unsigned char, 16> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw std::system_error(errno, std::generic_category(), "getrandom");
  bytes[6] = static_cast<unsigned char>(0x40 | (bytes[6] & 0x0F));  // version 4
  bytes[8] = static_cast<unsigned char>(0x80 | (bytes[8] & 0x3F));  // of RFC 4122
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits;
  }
  return text;
}

ScanJobs::ScanJobs(ScanJobsSetup setup) : setup_(std::move(setup)) {}

ScanJobs::~ScanJobs() {
  stop();
}

ScanJobs::Posted ScanJobs::post(const ScanTicket& ticket) {
  std::string reason;
  const std::shared_ptr<PageJob> job = begin(ticket, reason);
  if (!job) return {503, "", reason};
  job->awaitStart(setup_.earlyFailure);
  const auto outcome = job->outcome();
  if (!outcome || codeOf(outcome->status).whenPosted == 201) return {201, job->id(), ""};
  // The client never receives the job's ID: it posts again.
  drop(job);
  return {codeOf(outcome->status).whenPosted, "", outcome->sentence};
}

std::shared_ptr<PageJob> ScanJobs::begin(const ScanTicket& ticket, std::string& reason) {
  std::unique_lock lock(mutex_);
  reason = busySentence;
  if (!awaitTurn(lock)) return nullptr;
  if (stopped_) return reason = stoppedSentence, nullptr;
  JobOrder order{setup_.newId(), ticket, setup_.request, {}};
  order.request.settings = ticket.settings;
  order.request.threshold = ticket.threshold;
  if (ticket.threshold) order.request.tone = Tone();
  order.settings.software = setup_.software;
  const auto job = std::make_shared<PageJob>(std::move(order), setup_.now);
  try {
    thread_ = std::thread([this, job] { run(job); });
  } catch (const std::system_error&) {
    return reason = noThreadSentence, nullptr;
  }
  current_ = job;
  jobs_.push_front(job);
  forgetLocked();
  return job;
}

// Whether no other scan is running. Joins the thread of the previous one.
bool ScanJobs::awaitTurn(std::unique_lock<std::mutex>& lock) {
  while (const std::shared_ptr<PageJob> before = current_) {
    if (responseOf(before->phase(), JobRequest::newJob) == JobResponse::busy) return false;
    lock.unlock();
    const bool free = before->awaitFreeScanner(times::scannerFree);
    lock.lock();
    if (!free) return false;
    if (current_ != before) continue;  // another client was faster
    thread_.join();
    current_.reset();
  }
  return true;
}

void ScanJobs::run(const std::shared_ptr<PageJob>& job) {
  const Clock::time_point start = setup_.now();
  job->run(setup_.start);
  logEnd(*job, start);
}

void ScanJobs::logEnd(const PageJob& job, Clock::time_point start) const {
  const auto outcome = job.outcome();
  const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(job.changedAt() - start);
  setup_.log("scan " + job.id() + ": " + describe(job.ticket()) + ", " + std::to_string(job.pageBytes()) +
             " bytes, " + std::to_string(taken.count()) +
             " ms: " + (outcome ? outcome->sentence : std::string()));
}

void ScanJobs::drop(const std::shared_ptr<PageJob>& job) {
  const std::lock_guard lock(mutex_);
  std::erase(jobs_, job);
}

std::shared_ptr<PageJob> ScanJobs::find(std::string_view id) {
  const std::lock_guard lock(mutex_);
  forgetLocked();
  const auto found =
      std::find_if(jobs_.begin(), jobs_.end(), [id](const auto& job) { return job->id() == id; });
  return found == jobs_.end() ? nullptr : *found;
}

std::vector<JobReport> ScanJobs::reports() {
  const std::lock_guard lock(mutex_);
  forgetLocked();
  std::vector<JobReport> reports;
  for (const auto& job : jobs_) reports.push_back(job->report());
  return reports;
}

bool ScanJobs::scanning() {
  const std::lock_guard lock(mutex_);
  return current_ && !hasEnded(stateOf(current_->phase()));
}

std::optional<std::chrono::milliseconds> ScanJobs::forgetOld() {
  const std::lock_guard lock(mutex_);
  return forgetLocked();
}

// The jobs are ordered by when they began, and change in a different order.
std::optional<std::chrono::milliseconds> ScanJobs::forgetLocked() {
  const Clock::time_point now = setup_.now();
  std::size_t ended = 0;
  std::optional<std::chrono::milliseconds> next;
  std::erase_if(jobs_, [&](const std::shared_ptr<PageJob>& job) {
    if (!hasEnded(stateOf(job->phase()))) return false;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(job->changedAt() + times::forgotten - now);
    if (++ended > longestHistory || left.count() <= 0) return true;
    next = next ? std::min(*next, left) : left;
    return false;
  });
  if (!next && !jobs_.empty()) next = times::forgotten;
  return next;
}

void ScanJobs::stop() {
  std::thread last;
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    if (current_) current_->cancel();
    last = std::move(thread_);
    current_.reset();
  }
  if (last.joinable()) last.join();
}

}  // namespace frontend::share
