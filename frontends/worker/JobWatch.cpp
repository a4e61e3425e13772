#include "JobWatch.h"

#include <algorithm>
#include <utility>

#include "MessageGlance.h"
#include "WorkerTimes.h"

namespace frontend {
namespace {

constexpr std::uint32_t emptyReadsLimit = 1000;
constexpr std::uint64_t longestStream = 2 * PictureHeader::largestRaster;
// The data read that fails as the so-manieth in a row before the picture, otherwise than by silence, ends the
// job: the library would read for ever.
constexpr std::uint32_t failedReadsLimit = 4;
// A read of the data pipe waits no longer at a time. A scanner whose last transfer fills its last packet ends
// it in no way that can be seen but by silence.
constexpr std::uint32_t dataWaitMs = 250;
// A scanner that sent every row and then nothing for so long has no more to send, though it did not say so.
constexpr std::uint32_t quietEndMs = 1000;
constexpr std::uint32_t shortestWaitMs = 50;

bool isTimeOut(platform::IOReturn status) {
  return status == platform::kIOUSBTransactionTimeout || status == platform::kIOReturnTimeout;
}

std::string methodOf(const void* packet, std::uint32_t size) {
  if (size <= wire::packetHeaderSize) return {};
  const std::string_view text(static_cast<const char*>(packet), size);
  return glanceAt(text.substr(wire::packetHeaderSize)).method;
}

}  // namespace

JobWatch::JobWatch(const Cancellation* cancel, WatchLimits limits, PictureListener* picture)
    : cancel_(cancel), limits_(limits), picture_(picture) {}

bool JobWatch::mayGoOn() {
  // Once the picture is in, the last two calls go through: they leave the scanner ready for the next job.
  const bool over = phase_ == Phase::afterwards || (jobEnded_ && imagePacketCame_);
  if (cancel_ != nullptr && cancel_->requested() && !over) endJob(outcome::cancelled());
  return !ended_;
}

void JobWatch::endJob(ScanOutcome outcome) {
  if (!ended_) ended_ = std::move(outcome);
}

bool JobWatch::mayRead(std::uint8_t pipe) {
  const bool data = pipe != 0 && pipe == pipes_.data;
  if (data && phase_ == Phase::calls) beginPicture();
  // The library goes on reading for ever where no picture came.
  if (data && jobEnded_ && !imagePacketCame_) endJob(outcome::noPicture());
  return mayGoOn();
}

bool JobWatch::isExhausted(std::uint8_t pipe) {
  if (pipe == 0 || pipe != pipes_.data || phase_ != Phase::picture || !jobEnded_) return false;
  endPicture();
  return true;
}

std::uint32_t JobWatch::waitFor(std::uint8_t pipe, std::uint32_t noDataTimeoutMs) const {
  std::uint32_t left = limits_.timeoutMs - std::min(limits_.timeoutMs, silentMs_);
  if (pipe != 0 && pipe == pipes_.data) left = std::min(left, dataWaitMs);
  if (phase_ == Phase::afterwards) {
    const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(lastCallsEnd_ - Clock::now());
    left = std::min(left, static_cast<std::uint32_t>(std::max<std::int64_t>(time.count(), shortestWaitMs)));
  }
  left = std::max<std::uint32_t>(left, 1);
  return noDataTimeoutMs == 0 ? left : std::min(left, noDataTimeoutMs);
}

// A read that is cut off after it moved bytes succeeds with them: a slow picture loses nothing.
std::uint32_t JobWatch::completionFor(std::uint8_t pipe, std::uint32_t completionTimeoutMs) const {
  const std::uint32_t most = phase_ == Phase::afterwards ? waitFor(pipe, 0) : limits_.timeoutMs;
  return completionTimeoutMs == 0 ? most : std::min(most, completionTimeoutMs);
}

void JobWatch::beginPicture() {
  phase_ = Phase::picture;
  // The library drops image packets that came inside the answers so far.
  header_ = {};
  imagePacketCame_ = false;
  jobEnded_ = false;
  arrived_ = whole_ = 0;
  silentMs_ = 0;
}

void JobWatch::endPicture() {
  phase_ = Phase::afterwards;
  lastCallsEnd_ = Clock::now() + workertimes::finalCallsTimeout;
  silentMs_ = 0;
}

bool JobWatch::isWhole() const {
  return header_.state() == PictureHeader::State::complete && whole_ >= header_.rasterBytes();
}

bool JobWatch::mayWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size) {
  if (pipe != 0 && pipe == pipes_.out) silentMs_ = 0;
  if (pipe == 0 || pipe != pipes_.out || phase_ != Phase::calls) return mayGoOn();
  // The library would go on and take the answer that is still to come for that of the next call.
  if (!answered_)
    endJob(packets_.insidePacket() ? outcome::unreadableAnswer(request_) : outcome::noAnswer(request_));
  request_ = methodOf(bytes, size);
  answered_ = false;
  return mayGoOn();
}

platform::IOReturn JobWatch::judgeWrite(std::uint8_t pipe, platform::IOReturn status) {
  if (status == platform::kIOReturnSuccess || pipe != pipes_.out || phase_ != Phase::calls) return status;
  if (!mayGoOn()) return platform::kIOReturnNoDevice;
  judgeFailedAnswer(status);
  if (isTimeOut(status)) endJob(outcome::noAnswer(request_));
  return status;
}

bool JobWatch::answerIsCut(std::uint8_t pipe) const {
  return pipe == pipes_.reply && !ended_ && packets_.insidePacket();
}

platform::IOReturn JobWatch::judgeRead(std::uint8_t pipe, platform::IOReturn status, const void* bytes,
                                       std::uint32_t size, std::uint32_t waitedMs) {
  const bool data = pipe == pipes_.data;
  readAgain_ = false;
  if (pipe == 0 || (!data && pipe != pipes_.reply)) return status;
  if (status != platform::kIOReturnSuccess) return judgeFailedRead(data, status, waitedMs);
  if (size > 0) silentMs_ = 0;
  unreadableMessage_ = false;
  const bool garbled = !packets_.feed(static_cast<const std::uint8_t*>(bytes), size);
  if (garbled && phase_ != Phase::afterwards) endJob(outcome::garbledStream());
  if (data) judgeDataRead(size);
  const bool over = jobEnded_ || phase_ == Phase::afterwards;
  if (picture_ != nullptr && over && isWhole() && !ended_ && !std::exchange(toldWhole_, true))
    picture_->isWhole();
  if (ended_) return platform::kIOReturnNoDevice;
  // The picture is in by now: what comes with the last answers is kept from the library and does no harm.
  if (garbled || unreadableMessage_) return platform::kIOReturnIOError;
  return status;
}

platform::IOReturn JobWatch::judgeFailedRead(bool data, platform::IOReturn status, std::uint32_t waitedMs) {
  if (!mayGoOn()) return platform::kIOReturnNoDevice;
  if (isTimeOut(status)) judgeSilence(data, waitedMs);
  if (readAgain_) return status;
  if (data) return judgeFailedDataRead(status);
  if (phase_ == Phase::calls) judgeFailedAnswer(status);
  return status;
}

void JobWatch::judgeSilence(bool data, std::uint32_t waitedMs) {
  silentMs_ += waitedMs;
  if (phase_ == Phase::afterwards) return;
  const bool over = data && isWhole() && silentMs_ >= quietEndMs;
  readAgain_ = !over && silentMs_ < limits_.timeoutMs;
}

// A time-out alone does not end the job here: the scanner may begin to send all the same.
void JobWatch::judgeFailedAnswer(platform::IOReturn status) {
  if (status == platform::kIOReturnNoDevice) {
    endJob(outcome::wentAway());
  } else if (!isTimeOut(status)) {
    endJob(outcome::transferFailed(status));
  }
}

platform::IOReturn JobWatch::judgeFailedDataRead(platform::IOReturn status) {
  lastFailure_ = status;
  if (status == platform::kIOReturnNoDevice) {
    endJob(outcome::wentAway());
  } else if (isTimeOut(status) && !isWhole()) {
    endJob(outcome::silent(silentMs_));
  } else if (imagePacketCame_) {
    if (phase_ == Phase::picture) endPicture();
  } else if (++failedReads_ >= failedReadsLimit) {
    endJob(incomplete());
  }
  return ended_ ? platform::kIOReturnNoDevice : status;
}

void JobWatch::judgeDataRead(std::uint32_t size) {
  streamBytes_ += size;
  emptyReads_ = size == 0 ? emptyReads_ + 1 : 0;
  if (size > 0) failedReads_ = 0;
  if (emptyReads_ > emptyReadsLimit || streamBytes_ > longestStream) endJob(outcome::garbledStream());
}

void JobWatch::onControlMessage(std::string_view message) {
  const MessageGlance glance = glanceAt(message);
  const bool refusable = request_ == "create" || request_ == "start";
  const bool named = request_ != "create" || glance.hasResult;
  if (phase_ == Phase::picture) return;
  if (glance.kind == MessageKind::exception) {
    answered_ = true;
    if (refusable && phase_ == Phase::calls) endJob(outcome::refused(glance.reason));
  } else if (glance.kind == MessageKind::response && named) {
    answered_ = true;
  } else {
    unreadableMessage_ = true;
    if (phase_ == Phase::calls) endJob(outcome::unreadableAnswer(request_));
  }
}

void JobWatch::onImageBytes(const std::uint8_t* bytes, std::size_t count) {
  const bool begun = header_.state() == PictureHeader::State::complete;
  const std::size_t headerPart = header_.feed(bytes, count);
  const bool library = phase_ != Phase::calls;  // whether the library takes these bytes
  if (header_.state() == PictureHeader::State::wrong && phase_ == Phase::picture) {
    endJob(outcome::unreadablePicture(header_.complaint()));
  }
  if (header_.state() == PictureHeader::State::complete && library && picture_ != nullptr && !ended_) {
    if (const auto refusal = begun ? std::nullopt : picture_->begins(header_)) endJob(*refusal);
    showRaster(bytes + headerPart, count - headerPart);
  }
  arrived_ += count - headerPart;
}

void JobWatch::showRaster(const std::uint8_t* bytes, std::size_t count) {
  const std::uint64_t room = header_.rasterBytes() - std::min(header_.rasterBytes(), arrived_);
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, room));
  if (wanted > 0 && !ended_ && !picture_->raster(bytes, wanted)) endJob(outcome::cancelled());
}

void JobWatch::onImagePacketEnd() {
  imagePacketCame_ = true;
  whole_ = arrived_;
}

void JobWatch::onImageJobEnd() {
  if (phase_ == Phase::picture) jobEnded_ = true;
}

ScanOutcome JobWatch::incomplete() const {
  const bool begun = header_.state() == PictureHeader::State::complete;
  if (lastFailure_ != platform::kIOReturnSuccess && !isTimeOut(lastFailure_)) {
    return outcome::transferFailed(lastFailure_);
  }
  if (!begun) return outcome::noPicture();
  const std::uint64_t rows = std::min<std::uint64_t>(arrived_ / header_.rowBytes(), header_.height() - 1);
  return outcome::incompletePicture(rows, header_.height());
}

ScanOutcome JobWatch::verdict() const {
  if (ended_) return *ended_;
  if (cancel_ != nullptr && cancel_->requested()) return outcome::cancelled();
  return isWhole() ? outcome::good() : incomplete();
}

}  // namespace frontend
