#include "SupervisedScan.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <utility>
#include <variant>

#include "RegularFile.h"
#include "ScannerName.h"
#include "WorkerEnd.h"
#include "WorkerLink.h"
#include "WorkerMessages.h"
#include "WorkerProcess.h"
#include "WorkerProtocol.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

using std::chrono::milliseconds;
using TimePoint = std::chrono::steady_clock::time_point;
using State = WorkerProtocol::State;

constexpr milliseconds longestTimeout(UINT32_MAX);
// The heartbeat timer is not set for every read.
constexpr milliseconds heartbeatTimerInaccuracy(1000);
constexpr int mostMessagesAtOnce = 100;
// The image pipe closes when the worker exits, or after the worker has reported the outcome.
constexpr milliseconds timeToExplain(200);
constexpr milliseconds timeToDie(1000);

// The worker cannot open the user's files: it receives the virtual scanner's paper open.
bool hasPaper(const ScanRequest& request) {
  const auto name = parseScannerName(request.scanner);
  return name && name->isVirtual && !request.virtualScanner.paper.empty();
}

}  // namespace

// All but cancelled_ and link_.cancel() belongs to the one thread.
struct SupervisedScan::Impl {
  Impl(const ScanRequest& request, milliseconds heartbeatTimeout, Now now, milliseconds killTimeout)
      : now_(std::move(now)),
        killTimeout_(killTimeout),
        silenceTimeout_(std::clamp(request.timeout, milliseconds(0), longestTimeout) + heartbeatTimeout),
        protocol_(expectedLayout(request), [this](const ScanOutcome& outcome) { atEnd(outcome); }) {}

  void start(const ScanRequest& request, const std::string& worker);
  void cancel() noexcept;
  bool isIn(State state) const { return protocol_.state() == state; }

  std::optional<PictureLayout> awaitLayout();
  std::optional<std::size_t> take(std::uint8_t* buffer, std::size_t capacity);
  std::optional<std::size_t> takeBytes(std::uint8_t* buffer, std::size_t capacity);
  void lookForLayout();
  bool listen();
  void understand(std::string_view message);
  void noteHeartbeat();
  bool missedHeartbeats();
  void giveUp();
  void explain();
  void examineWorker();
  void atEnd(const ScanOutcome& outcome);
  void stop() noexcept;
  void finish();

  const Now now_;
  const milliseconds killTimeout_;
  const milliseconds silenceTimeout_;
  std::string program_;  // of the worker
  std::atomic<bool> cancelled_{false};
  WorkerLink link_;
  WorkerProcess worker_;
  WorkerProtocol protocol_;
  TimePoint timerStart_;  // of the heartbeat timer
  bool reset_ = false;    // the connection to the worker, by its end
  // What was received last. Not on the stack, all of which it would take where that is small (ulimit -s 64).
  std::array<char, largestWorkerMessage> message_;
};

void SupervisedScan::Impl::start(const ScanRequest& request, const std::string& worker) {
  program_ = worker;
  int error = link_.open();
  platform::OpenedFile paper;
  if (hasPaper(request)) {
    paper = platform::openRegularFile(request.virtualScanner.paper);
    if (paper.descriptor.get() < 0)
      return protocol_.end(outcome::wrongRequest(request.virtualScanner.paper + ": " + paper.problem()));
  }
  if (error == 0) error = link_.sendTask(requestMessage(request), paper.descriptor.get());
  if (error == 0 && worker.empty()) error = ENOENT;
  if (error == 0) error = worker_.start(worker, link_.workerControl(), link_.workerImage(), request.verbose);
  link_.closeWorkerEnds();
  if (error != 0) return protocol_.end(outcome::workerNotStarted(worker, error));
  timerStart_ = now_();
  link_.startHeartbeatTimer(silenceTimeout_);
}

void SupervisedScan::Impl::cancel() noexcept {
  cancelled_.store(true);
  link_.cancel();
}

void SupervisedScan::Impl::atEnd(const ScanOutcome& outcome) {
  // A failed scan has nothing left to do. After a good one the worker still makes its final calls
  // to the scanner.
  if (!outcome.good()) link_.cancel();
  link_.signalEnd();
}

std::optional<PictureLayout> SupervisedScan::Impl::awaitLayout() {
  while (isIn(State::awaitingLayout)) {
    if (cancelled_.load()) protocol_.end(outcome::cancelled());
    lookForLayout();
    if (isIn(State::explaining)) explain();
    if (isIn(State::awaitingLayout)) link_.wait(true);
  }
  return protocol_.layout();
}

// Nothing if no byte has arrived yet; 0 at the end.
std::optional<std::size_t> SupervisedScan::Impl::take(std::uint8_t* buffer, std::size_t capacity) {
  std::optional<std::size_t> taken;
  if (cancelled_.load()) protocol_.end(outcome::cancelled());
  if (isIn(State::awaitingLayout)) lookForLayout();
  if (isIn(State::streaming)) taken = takeBytes(buffer, capacity);
  if (isIn(State::explaining)) explain();
  return isIn(State::ended) ? std::optional<std::size_t>(0) : taken;
}

void SupervisedScan::Impl::lookForLayout() {
  listen();
  pollfd image{link_.image(), POLLIN, 0};
  if (!isIn(State::awaitingLayout)) return;
  if (poll(&image, 1, 0) != 1) {
    if (missedHeartbeats()) giveUp();
    return;
  }
  if ((image.revents & POLLIN) == 0) return protocol_.imageClosed();
  // The layout is sent before the first byte: it has arrived by now.
  listen();
  if (isIn(State::awaitingLayout)) protocol_.bytes(1);
}

// One byte more than the picture has is read too, to notice a worker that sends more.
std::optional<std::size_t> SupervisedScan::Impl::takeBytes(std::uint8_t* buffer, std::size_t capacity) {
  const std::uint64_t missing = protocol_.missingBytes();
  std::uint8_t excess = 0;
  std::uint8_t* room = missing > 0 ? buffer : &excess;
  const auto wanted = static_cast<std::size_t>(missing > 0 ? std::min<std::uint64_t>(capacity, missing) : 1);
  ssize_t count = 0;
  do {
    count = ::read(link_.image(), room, wanted);
  } while (count < 0 && errno == EINTR);
  if (count > 0) {
    protocol_.bytes(static_cast<std::size_t>(count));
    noteHeartbeat();
    return static_cast<std::size_t>(count);
  }
  if (count == 0 || errno != EAGAIN) {
    protocol_.imageClosed();
  } else if (missedHeartbeats()) {
    giveUp();
  }
  return std::nullopt;
}

// Takes the messages that have arrived. Returns whether there was one.
bool SupervisedScan::Impl::listen() {
  bool heard = false;
  for (int left = mostMessagesAtOnce; left > 0 && protocol_.expectsMessages(); --left) {
    if (cancelled_.load()) return protocol_.end(outcome::cancelled()), heard;
    const ssize_t count = recv(link_.control(), message_.data(), message_.size(), MSG_DONTWAIT);
    // A reset is reported once, before the last messages, if the worker exits without reading everything.
    const bool reset = count < 0 && errno == ECONNRESET && !std::exchange(reset_, true);
    if (reset || (count < 0 && errno == EINTR)) continue;
    if (count < 0 && errno == EAGAIN) break;
    heard = heard || count > 0;
    if (count <= 0) {
      protocol_.controlClosed();
    } else {
      understand({message_.data(), static_cast<std::size_t>(count)});
    }
  }
  return heard;
}

void SupervisedScan::Impl::understand(std::string_view message) {
  const auto report = readReport(message);
  if (!report) return protocol_.garbage();
  noteHeartbeat();
  if (const auto* layout = std::get_if<PictureLayout>(&*report)) protocol_.layout(*layout);
  if (const auto* outcome = std::get_if<ScanOutcome>(&*report))
    protocol_.outcome(outcome::reported(*outcome));
}

// Every message counts as a heartbeat, and so do bytes of the picture.
void SupervisedScan::Impl::noteHeartbeat() {
  const TimePoint now = now_();
  if (now - timerStart_ <= std::min(heartbeatTimerInaccuracy, silenceTimeout_ / 10)) return;
  timerStart_ = now;
  link_.startHeartbeatTimer(silenceTimeout_);
}

// A heartbeat that has arrived but has not been read yet counts.
bool SupervisedScan::Impl::missedHeartbeats() {
  return link_.heartbeatTimerExpired() && !listen();
}

// Such a worker cannot even be expected to exit.
void SupervisedScan::Impl::giveUp() {
  worker_.kill();
  worker_.awaitEnd(timeToDie);
  protocol_.end(outcome::workerDied("it stopped responding"));
}

// No byte is left: the worker either reports the outcome within a moment or has exited.
void SupervisedScan::Impl::explain() {
  const auto deadline = now_() + timeToExplain;
  for (listen(); isIn(State::explaining) && protocol_.expectsMessages() && now_() < deadline; listen()) {
    pollfd control{link_.control(), POLLIN, 0};
    poll(&control, 1, 10);
  }
  if (cancelled_.load()) protocol_.end(outcome::cancelled());
  if (isIn(State::explaining)) examineWorker();
}

void SupervisedScan::Impl::examineWorker() {
  // A worker that keeps its control connection open without a message does not exit on its own either.
  if (!worker_.awaitEnd(protocol_.expectsMessages() ? milliseconds(0) : timeToExplain)) return giveUp();
  protocol_.end(outcomeOfEnd(worker_, program_));
}

// Leaves the outcome as it is: its sentence takes memory, and a destructor that finds none would end the host
// program.
void SupervisedScan::Impl::stop() noexcept {
  if (!isIn(State::ended)) cancel();
  if (!worker_.isRunning() || worker_.awaitEnd(killTimeout_)) return;
  worker_.kill();
  worker_.awaitEnd(timeToDie);
}

void SupervisedScan::Impl::finish() {
  stop();
  if (!isIn(State::ended)) protocol_.end(outcome::cancelled());
}

SupervisedScan::SupervisedScan(const ScanRequest& request, const std::string& worker)
    : SupervisedScan(request, worker, workertimes::workerHeartbeatTimeout, std::chrono::steady_clock::now) {}

SupervisedScan::SupervisedScan(const ScanRequest& request, const std::string& worker,
                               milliseconds heartbeatTimeout, Now now, milliseconds killTimeout)
    : impl_(std::make_unique<Impl>(request, heartbeatTimeout, std::move(now), killTimeout)) {
  impl_->start(request, worker);
}

SupervisedScan::~SupervisedScan() {
  impl_->stop();
}

void SupervisedScan::cancel() noexcept {
  impl_->cancel();
}

std::optional<PictureLayout> SupervisedScan::awaitLayout() {
  return impl_->awaitLayout();
}

std::size_t SupervisedScan::read(std::uint8_t* buffer, std::size_t capacity) {
  for (;;) {
    if (const auto taken = impl_->take(buffer, capacity)) return *taken;
    impl_->link_.wait(impl_->protocol_.expectsMessages());
    impl_->listen();
  }
}

std::optional<std::size_t> SupervisedScan::readAvailable(std::uint8_t* buffer, std::size_t capacity) {
  return impl_->take(buffer, capacity);
}

int SupervisedScan::descriptor() const {
  return impl_->link_.descriptor();
}

const ScanOutcome& SupervisedScan::outcome() const {
  return impl_->protocol_.outcome();
}

void SupervisedScan::finish() {
  impl_->finish();
}

bool SupervisedScan::workerEndedWell() const {
  return impl_->worker_.endedWell();
}

}  // namespace frontend
