#include "PageJob.h"

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <utility>

#include "OutcomeCode.h"
#include "OutputError.h"

namespace frontend::share {
namespace {

constexpr std::size_t bufferSize = 64 * 1024;

constexpr char noDocumentYet[] = "The job has no document yet.";
constexpr char noMoreDocuments[] = "The job has no more documents.";
constexpr char cancelledByClient[] = "The scan was cancelled.";
constexpr char clientWentAway[] = "The client disconnected; the scan was cancelled.";
constexpr char neverFetched[] = "No client fetched the page; the scan was cancelled.";
constexpr char stillWarmingUp[] = "The scanner is still warming up. Try again.";

ScanOutcome cancelledBecause(const char* sentence) {
  return {ScanStatus::cancelled, sentence};
}

ScanOutcome notStored(const std::string& why) {
  return {ScanStatus::ioError, "The page cannot be stored: " + why + ". Free disk space, then scan again."};
}

JobPhase phaseAfter(ScanStatus status) {
  if (status == ScanStatus::good) return JobPhase::ready;
  return status == ScanStatus::cancelled ? JobPhase::canceled : JobPhase::aborted;
}

}  // namespace

// The source that cancel() reaches.
class PageJob::Aim {
 public:
  Aim(PageJob& job, ScanSource& source) : job_(job) {
    const std::lock_guard lock(job_.mutex_);
    job_.source_ = &source;
    if (hasEnded(stateOf(job_.phase_))) source.cancel();
  }
  ~Aim() {
    const std::lock_guard lock(job_.mutex_);
    job_.source_ = nullptr;
  }
  Aim(const Aim&) = delete;
  Aim& operator=(const Aim&) = delete;

 private:
  PageJob& job_;
};

PageJob::PageJob(JobOrder order, Now now)
    : order_(std::move(order)),
      now_(std::move(now)),
      changedAt_(now_()),
      abandonAt_(changedAt_ + times::unclaimed) {}

void PageJob::run(const StartScan& start) noexcept {
  try {
    const std::unique_ptr<ScanSource> source = start(order_.request);
    const Aim aim(*this, *source);
    // Clients get the end before the worker's last calls to the scanner, which take a second or two.
    settle(scanGuarded(*source));
  } catch (const std::exception&) {
    settle(outcome::noMemory());
  }
  const std::lock_guard lock(mutex_);
  free_ = true;
  changed_.notify_all();
}

ScanOutcome PageJob::scanGuarded(ScanSource& source) noexcept {
  ScanOutcome outcome = outcome::noMemory();
  try {
    outcome = scanPage(source);
  } catch (const OutputError& error) {
    outcome = {ScanStatus::ioError, error.what()};
  } catch (const std::bad_alloc&) {
  }
  if (!outcome.good()) source.cancel();
  return outcome;
}

ScanOutcome PageJob::scanPage(ScanSource& source) {
  const auto page = std::make_shared<PageFile>();
  PageEncoder encoder(order_.ticket, expectedLayout(order_.request), order_.settings, page->descriptor());
  {
    const std::lock_guard lock(mutex_);
    if (!hasEnded(stateOf(phase_))) page_ = page;
  }
  std::array<std::uint8_t, bufferSize> buffer;
  for (;;) {
    watchClock();
    const auto count = source.readAvailable(buffer.data(), buffer.size());
    if (!count) {
      source.wait(times::tick);
      continue;
    }
    if (*count == 0) break;
    encoder.write(buffer.data(), *count);
    encoder.flush();
    if (!encoder.failure().empty()) return notStored(encoder.failure());
    publish(encoder.size());
  }
  if (ScanOutcome outcome = source.outcome(); !outcome.good()) return outcome;
  encoder.finish();
  if (!encoder.failure().empty()) return notStored(encoder.failure());
  publish(encoder.size());
  return outcome::good();
}

void PageJob::publish(std::uint64_t bytes) {
  const std::lock_guard lock(mutex_);
  bytes_ = bytes;
  if (phase_ == JobPhase::pending) changeLocked(JobPhase::processing);
  changed_.notify_all();
}

// A job that was cancelled meanwhile stays cancelled.
void PageJob::settle(ScanOutcome outcome) {
  const std::lock_guard lock(mutex_);
  if (hasEnded(stateOf(phase_))) return;
  const JobPhase phase = phaseAfter(outcome.status);
  if (phase != JobPhase::ready) page_.reset();
  outcome_ = std::move(outcome);
  changeLocked(phase);
}

void PageJob::watchClock() {
  const std::lock_guard lock(mutex_);
  if (!abandonAt_ || now_() < *abandonAt_) return;
  if (responseOf(phase_, JobRequest::unclaimed) != JobResponse::cancel) return;
  cancelLocked(cancelledBecause(transfers_ == 0 ? neverFetched : clientWentAway));
}

void PageJob::cancelLocked(ScanOutcome outcome) {
  if (hasEnded(stateOf(phase_))) return;
  page_.reset();
  outcome_ = std::move(outcome);
  if (source_ != nullptr) source_->cancel();
  changeLocked(JobPhase::canceled);
}

void PageJob::changeLocked(JobPhase phase) {
  phase_ = phase;
  changedAt_ = now_();
  changed_.notify_all();
}

void PageJob::cancel() {
  const std::lock_guard lock(mutex_);
  cancelLocked(cancelledBecause(cancelledByClient));
}

void PageJob::remove() {
  const std::lock_guard lock(mutex_);
  switch (responseOf(phase_, JobRequest::remove)) {
    case JobResponse::cancel:
      return cancelLocked(cancelledBecause(cancelledByClient));
    case JobResponse::discard:
      page_.reset();
      return changeLocked(JobPhase::spent);
    default:
      return;
  }
}

PlainResponse PageJob::refusalLocked(JobResponse response) const {
  if (response == JobResponse::noDocument)
    return {404, phase_ == JobPhase::pending ? noDocumentYet : noMoreDocuments};
  return {codeOf(outcome_->status).whenFetched, outcome_->sentence};
}

PlainResponse PageJob::infoResponse() const {
  const std::lock_guard lock(mutex_);
  const JobResponse response = responseOf(phase_, JobRequest::imageInfo);
  return response == JobResponse::info ? PlainResponse{200, ""} : refusalLocked(response);
}

void PageJob::readerLeaves(Farewell farewell) {
  const std::lock_guard lock(mutex_);
  --readers_;
  changedAt_ = now_();
  if (farewell == Farewell::delivered) {
    delivered_ = true;
    if (phase_ == JobPhase::ready) changeLocked(JobPhase::spent);
  }
  if (farewell == Farewell::leftAtTheEnd && phase_ == JobPhase::spent && page_ != nullptr)
    changeLocked(JobPhase::ready);
  if (readers_ > 0) return;
  // It cannot be requested again.
  if (phase_ == JobPhase::spent) page_.reset();
  const bool left = farewell == Farewell::left;
  abandonAt_ = changedAt_ + (left ? times::secondThought : times::unclaimed);
  if (left && responseOf(phase_, JobRequest::clientLeft) == JobResponse::cancel)
    cancelLocked(cancelledBecause(clientWentAway));
}

JobPhase PageJob::phase() const {
  const std::lock_guard lock(mutex_);
  return phase_;
}

JobReport PageJob::report() const {
  const std::lock_guard lock(mutex_);
  JobReport report;
  report.id = order_.id;
  report.state = stateOf(phase_);
  report.reason = readers_ > 0 && transfers_ > 0 ? "JobScanningAndTransferring" : "JobScanning";
  if (phase_ == JobPhase::pending) report.reason = "JobQueued";
  if (outcome_) report.reason = codeOf(outcome_->status).reason;
  report.age = std::chrono::duration_cast<std::chrono::seconds>(now_() - changedAt_);
  report.delivered = delivered_;
  report.retries = transfers_ > 0 ? transfers_ - 1 : 0;
  return report;
}

std::optional<ScanOutcome> PageJob::outcome() const {
  const std::lock_guard lock(mutex_);
  return outcome_;
}

Clock::time_point PageJob::changedAt() const {
  const std::lock_guard lock(mutex_);
  return changedAt_;
}

std::uint64_t PageJob::pageBytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

void PageJob::awaitStart(std::chrono::milliseconds longest) const {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, longest, [this] { return phase_ != JobPhase::pending; });
}

bool PageJob::awaitFreeScanner(std::chrono::milliseconds longest) const {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, longest, [this] { return free_; });
}

PageReader::PageReader(std::shared_ptr<PageJob> job, ClientLink client)
    : job_(std::move(job)), client_(std::move(client)) {
  const std::lock_guard lock(job_->mutex_);
  ++job_->readers_;
  job_->abandonAt_.reset();
}

PageReader::~PageReader() {
  if (finished_) return;
  const auto left = ended_ ? PageJob::Farewell::leftAtTheEnd : PageJob::Farewell::left;
  job_->readerLeaves(refused_ ? PageJob::Farewell::refused : left);
}

PlainResponse PageReader::refuse(PlainResponse response) {
  refused_ = true;
  return response;
}

PlainResponse PageReader::begin() {
  std::unique_lock lock(job_->mutex_);
  const Clock::time_point deadline = job_->now_() + times::longestHold;
  for (;;) {
    const JobResponse response = responseOf(job_->phase_, JobRequest::nextDocument);
    const bool late = job_->now_() >= deadline;
    switch (response) {
      case JobResponse::noDocument:
      case JobResponse::gone:
      case JobResponse::failure:
        return refuse(job_->refusalLocked(response));
      case JobResponse::hold:
        if (late) return refuse({503, stillWarmingUp});
        break;
      default:
        // A format that is written as a whole has no bytes before its end.
        if (job_->bytes_ == 0 && !late) break;
        page_ = job_->page_;
        ++job_->transfers_;
        return {200, ""};
    }
    if (!awaitChange(lock, times::tick)) return {clientClosedRequest, clientWentAway};
  }
}

// Whether the client is still connected.
bool PageReader::awaitChange(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds longest) const {
  job_->changed_.wait_for(lock, longest);
  lock.unlock();
  const bool left = client_.gone();
  lock.lock();
  return !left;
}

std::optional<std::size_t> PageReader::read(std::uint64_t offset, void* bytes, std::size_t capacity) {
  std::unique_lock lock(job_->mutex_);
  for (;;) {
    // Discarded, or never to be completed.
    if (job_->page_ == nullptr) return std::nullopt;
    if (job_->bytes_ > offset) break;
    if (stateOf(job_->phase_) == JobState::completed) return end(lock);
    if (!awaitChange(lock, times::tick)) return std::nullopt;
  }
  const std::uint64_t there = job_->bytes_ - offset;
  lock.unlock();
  const std::size_t count =
      page_->read(offset, bytes, static_cast<std::size_t>(std::min<std::uint64_t>(there, capacity)));
  return count > 0 ? std::optional(count) : std::nullopt;
}

// The job has no more documents before the end is reported: the client's next request may arrive at once.
std::optional<std::size_t> PageReader::end(std::unique_lock<std::mutex>& lock) {
  if (!awaitAcknowledgement(lock)) return std::nullopt;
  ended_ = true;
  if (job_->phase_ == JobPhase::ready) job_->changeLocked(JobPhase::spent);
  return 0;
}

bool PageReader::awaitAcknowledgement(std::unique_lock<std::mutex>& lock) const {
  std::size_t left = client_.unacknowledged();
  Clock::time_point deadline = job_->now_() + times::acknowledgement;
  while (left > 0) {
    if (job_->page_ == nullptr || job_->now_() >= deadline) return false;
    if (!awaitChange(lock, times::acknowledgementTick)) return false;
    const std::size_t before = std::exchange(left, client_.unacknowledged());
    if (left < before) deadline = job_->now_() + times::acknowledgement;
  }
  return true;
}

void PageReader::finish() {
  if (std::exchange(finished_, true)) return;
  job_->readerLeaves(refused_ ? PageJob::Farewell::refused : PageJob::Farewell::delivered);
}

}  // namespace frontend::share
