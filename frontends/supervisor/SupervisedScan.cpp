#include "SupervisedScan.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <variant>

#include "WorkerLink.h"
#include "WorkerMessages.h"
#include "WorkerProcess.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds longestTimeout(UINT32_MAX);
// The clock of the worker's silence is not set for every read.
constexpr milliseconds silenceInaccuracy(1000);
constexpr int mostMessagesAtOnce = 100;
// The end of the picture is the end of its process, or has been explained before.
constexpr milliseconds timeToExplain(200);
constexpr milliseconds timeToDie(1000);

}  // namespace

// All but cancelled_ and link_.cancel() belongs to the one thread.
struct SupervisedScan::Impl {
  Impl(const ScanRequest& request, milliseconds silenceOfTheWorker)
      : expected_(expectedLayout(request)),
        longestSilence_(std::clamp(request.timeout, milliseconds(0), longestTimeout) + silenceOfTheWorker) {}

  void start(const ScanRequest& request, const std::string& worker);
  void cancel() noexcept;
  std::optional<std::size_t> take(std::uint8_t* buffer, std::size_t capacity);
  std::optional<std::size_t> takeBytes(std::uint8_t* buffer, std::size_t capacity);
  bool needsLayout();
  void listen();
  void noteSign();
  bool gaveNoSign();
  void giveUp();
  void understand(std::string_view message);
  void conclude(ScanOutcome outcome);
  void concludeFromTheEnd();
  void finish();

  std::string program_;  // of the worker
  PictureLayout expected_;
  milliseconds longestSilence_;
  std::atomic<bool> cancelled_{false};
  WorkerLink link_;
  WorkerProcess worker_;
  std::optional<PictureLayout> layout_;
  std::optional<ScanOutcome> told_;  // by the worker
  bool hungUp_ = false;              // it will tell no more
  std::uint64_t delivered_ = 0;
  Clock::time_point latestSign_;
  bool ended_ = false;
  ScanOutcome outcome_ = outcome::cancelled();
};

void SupervisedScan::Impl::start(const ScanRequest& request, const std::string& worker) {
  program_ = worker;
  int error = link_.open();
  if (error == 0) {
    const std::string message = requestMessage(request);
    const ssize_t sent =
        message.size() > largestWorkerMessage
            ? (errno = EMSGSIZE, -1)
            : send(link_.control(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    error = sent < 0 ? errno : 0;
  }
  if (error == 0 && worker.empty()) error = ENOENT;
  if (error == 0) error = worker_.start(worker, link_.workerControl(), link_.workerImage(), request.verbose);
  link_.closeWorkerEnds();
  if (error != 0) return conclude(outcome::workerMissing(worker, std::strerror(error)));
  latestSign_ = Clock::now();
  link_.expectSign(longestSilence_);
}

void SupervisedScan::Impl::cancel() noexcept {
  cancelled_.store(true);
  link_.cancel();
}

void SupervisedScan::Impl::conclude(ScanOutcome outcome) {
  if (ended_) return;
  ended_ = true;
  outcome_ = std::move(outcome);
  // Nobody waits for a scan that is over, but for the last calls of a good one.
  if (!outcome_.good()) link_.cancel();
  link_.markEnd();
}

// Nothing where no byte is there yet; 0 at the end.
std::optional<std::size_t> SupervisedScan::Impl::take(std::uint8_t* buffer, std::size_t capacity) {
  if (!ended_ && cancelled_.load()) conclude(outcome::cancelled());
  if (ended_) return 0;
  if (needsLayout()) return ended_ ? std::optional<std::size_t>(0) : std::nullopt;
  const auto taken = takeBytes(buffer, capacity);
  if (taken && *taken > 0) {
    delivered_ += *taken;
    noteSign();
  }
  return taken;
}

void SupervisedScan::Impl::noteSign() {
  const Clock::time_point now = Clock::now();
  if (now - latestSign_ <= std::min(silenceInaccuracy, longestSilence_ / 10)) return;
  latestSign_ = now;
  link_.expectSign(longestSilence_);
}

// A sign that nobody has listened to yet counts.
bool SupervisedScan::Impl::gaveNoSign() {
  if (!link_.timeIsUp()) return false;
  const Clock::time_point before = latestSign_;
  listen();
  return latestSign_ == before;
}

// Whether bytes cannot be taken yet since nobody knows what they are. The layout is told before them.
bool SupervisedScan::Impl::needsLayout() {
  if (layout_) return false;
  listen();
  if (layout_ || ended_) return ended_;
  pollfd image{link_.image(), POLLIN, 0};
  const bool ready = poll(&image, 1, 0) == 1;
  if (!ready && gaveNoSign()) giveUp();
  if (!ready) return !layout_ || ended_;
  if ((image.revents & POLLIN) == 0) return concludeFromTheEnd(), true;
  listen();
  if (!layout_) conclude(outcome::workerGarbled());
  return !layout_ || ended_;
}

std::optional<std::size_t> SupervisedScan::Impl::takeBytes(std::uint8_t* buffer, std::size_t capacity) {
  const std::uint64_t left = layout_->bytes() - delivered_;
  std::uint8_t excess = 0;
  std::uint8_t* room = left > 0 ? buffer : &excess;
  const auto wanted = static_cast<std::size_t>(left > 0 ? std::min<std::uint64_t>(capacity, left) : 1);
  ssize_t count = 0;
  do {
    count = ::read(link_.image(), room, wanted);
  } while (count < 0 && errno == EINTR);
  if (count > 0 && left > 0) return static_cast<std::size_t>(count);
  if (count < 0 && errno == EAGAIN) {
    if (!gaveNoSign()) return ended_ ? std::optional<std::size_t>(0) : std::nullopt;
    giveUp();
  } else if (count > 0) {
    conclude(outcome::unreadablePicture("it has more rows than its header announced"));
  } else {
    concludeFromTheEnd();
  }
  return 0;
}

// Nothing can be expected of this worker, not even that it leaves.
void SupervisedScan::Impl::giveUp() {
  worker_.kill();
  conclude(outcome::workerDied("it stopped responding"));
}

// Takes what the worker has said so far.
void SupervisedScan::Impl::listen() {
  std::array<char, largestWorkerMessage> message;
  for (int left = mostMessagesAtOnce; left > 0 && !hungUp_ && !told_ && !ended_; --left) {
    const ssize_t count = recv(link_.control(), message.data(), message.size(), MSG_DONTWAIT);
    // That a worker left without reading everything is told once, before its last messages.
    if (count < 0 && (errno == EINTR || errno == ECONNRESET)) continue;
    if (count < 0 && errno == EAGAIN) return;
    hungUp_ = count <= 0;
    if (count > 0) understand({message.data(), static_cast<std::size_t>(count)});
  }
}

void SupervisedScan::Impl::understand(std::string_view message) {
  auto report = readReport(message);
  if (!report) return conclude(outcome::workerGarbled());
  noteSign();
  if (std::holds_alternative<Heartbeat>(*report)) return;
  if (auto* outcome = std::get_if<ScanOutcome>(&*report)) {
    told_ = std::move(*outcome);
    return;
  }
  const auto& layout = std::get<PictureLayout>(*report);
  if (layout_) return conclude(outcome::workerGarbled());
  if (layout != expected_) return conclude(outcome::otherPicture(layout, expected_));
  layout_ = layout;
}

// The picture has no more bytes: either the worker has told how the scan ended, or it is about to be gone.
void SupervisedScan::Impl::concludeFromTheEnd() {
  const auto deadline = Clock::now() + timeToExplain;
  for (listen(); !told_ && !hungUp_ && !ended_ && !cancelled_.load() && Clock::now() < deadline; listen()) {
    pollfd control{link_.control(), POLLIN, 0};
    poll(&control, 1, 10);
  }
  if (ended_) return;
  if (cancelled_.load()) return conclude(outcome::cancelled());
  if (!told_) {
    if (!hungUp_ || !worker_.awaitEnd(timeToExplain)) worker_.kill();
    worker_.awaitEnd(timeToDie);
    if (worker_.neverRan()) return conclude(outcome::workerMissing(program_, "the system could not run it"));
    const std::string how = worker_.howItEnded();
    return conclude(outcome::workerDied(how.empty() ? "for an unknown reason" : how));
  }
  if (told_->good() && !layout_) return conclude(outcome::noPicture());
  if (told_->good() && delivered_ != layout_->bytes()) {
    return conclude(outcome::incompletePicture(delivered_ / layout_->rowBytes(), layout_->height));
  }
  conclude(*told_);
}

void SupervisedScan::Impl::finish() {
  if (!ended_) {
    cancel();
    conclude(outcome::cancelled());
  }
  if (!worker_.isRunning() || worker_.awaitEnd(workertimes::workerKillTimeout)) return;
  worker_.kill();
  worker_.awaitEnd(timeToDie);
}

SupervisedScan::SupervisedScan(const ScanRequest& request, const std::string& worker)
    : SupervisedScan(request, worker, workertimes::workerHeartbeatTimeout) {}

SupervisedScan::SupervisedScan(const ScanRequest& request, const std::string& worker,
                               milliseconds silenceOfTheWorker)
    : impl_(std::make_unique<Impl>(request, silenceOfTheWorker)) {
  impl_->start(request, worker);
}

SupervisedScan::~SupervisedScan() {
  finish();
}

void SupervisedScan::cancel() noexcept {
  impl_->cancel();
}

std::optional<PictureLayout> SupervisedScan::awaitLayout() {
  while (!impl_->layout_ && !impl_->ended_) {
    if (impl_->cancelled_.load()) impl_->conclude(outcome::cancelled());
    if (!impl_->needsLayout() || impl_->ended_) break;
    if (impl_->told_ || impl_->hungUp_) {
      impl_->concludeFromTheEnd();
    } else {
      impl_->link_.wait(true);
    }
  }
  return impl_->layout_;
}

std::size_t SupervisedScan::read(std::uint8_t* buffer, std::size_t capacity) {
  for (;;) {
    if (const auto taken = impl_->take(buffer, capacity)) return *taken;
    impl_->link_.wait(!impl_->told_ && !impl_->hungUp_);
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
  return impl_->outcome_;
}

void SupervisedScan::finish() {
  impl_->finish();
}

bool SupervisedScan::workerEndedWell() const {
  return impl_->worker_.endedWell();
}

}  // namespace frontend
