#include "JobWatch.h"

#include <algorithm>
#include <utility>

#include "MessageGlance.h"

namespace frontend {
namespace {

constexpr std::uint32_t emptyReadsLimit = 1000;
constexpr std::uint64_t longestStream = 2 * PictureHeader::largestRaster;

bool isTimeOut(platform::IOReturn status) {
  return status == platform::kIOUSBTransactionTimeout || status == platform::kIOReturnTimeout;
}

std::string methodOf(const void* packet, std::uint32_t size) {
  if (size <= packetformat::headerSize) return {};
  const std::string_view text(static_cast<const char*>(packet), size);
  return glanceAt(text.substr(packetformat::headerSize)).method;
}

}  // namespace

JobWatch::JobWatch(const CancelFlag* cancel, std::uint64_t expectedRaster, ProgressReader progress,
                   WatchLimits limits)
    : cancel_(cancel), expectedRaster_(expectedRaster), progress_(std::move(progress)), limits_(limits) {}

bool JobWatch::mayGoOn() {
  // Once the picture is in, the last two calls go through: they leave the scanner ready for the next job.
  const bool cancelled = cancel_ != nullptr && cancel_->requested() && phase_ != Phase::afterwards;
  if (cancelled) endJob(outcome::cancelled());
  return !ended_;
}

void JobWatch::endJob(ScanOutcome outcome) {
  if (!ended_) ended_ = std::move(outcome);
}

bool JobWatch::mayRead(std::uint8_t pipe) {
  if (pipe != 0 && pipe == pipes_.data && phase_ == Phase::calls) beginPicture();
  return mayGoOn();
}

void JobWatch::beginPicture() {
  phase_ = Phase::picture;
  // The library drops image packets that came inside the answers so far.
  header_ = {};
  imagePacketCame_ = false;
  arrived_ = whole_ = 0;
}

bool JobWatch::mayWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size) {
  if (pipe == 0 || pipe != pipes_.out || phase_ != Phase::calls) return mayGoOn();
  // The library would go on and take the answer that is still to come for that of the next call.
  if (!answered_)
    endJob(cutter_.insidePacket() ? outcome::unreadableAnswer(request_) : outcome::noAnswer(request_));
  request_ = methodOf(bytes, size);
  answered_ = false;
  return mayGoOn();
}

platform::IOReturn JobWatch::judgeWrite(std::uint8_t pipe, platform::IOReturn status) {
  if (status == platform::kIOReturnSuccess || pipe != pipes_.out || phase_ != Phase::calls) return status;
  judgeFailedAnswer(status);
  if (isTimeOut(status)) endJob(outcome::noAnswer(request_));
  return status;
}

bool JobWatch::answerIsCut(std::uint8_t pipe) const {
  return pipe == pipes_.reply && !ended_ && cutter_.insidePacket();
}

platform::IOReturn JobWatch::judgeRead(std::uint8_t pipe, platform::IOReturn status, const void* bytes,
                                       std::uint32_t size, std::uint32_t waitedMs) {
  const bool data = pipe == pipes_.data;
  if (pipe == 0 || (!data && pipe != pipes_.reply)) return status;
  if (status != platform::kIOReturnSuccess) {
    if (data) return judgeFailedDataRead(status, waitedMs);
    if (phase_ == Phase::calls) judgeFailedAnswer(status);
    return status;
  }
  unreadableMessage_ = false;
  const bool garbled = !cutter_.feed(static_cast<const std::uint8_t*>(bytes), size);
  if (garbled && phase_ != Phase::afterwards) endJob(outcome::garbledStream());
  if (data) judgeDataRead(size);
  if (ended_) return platform::kIOReturnNoDevice;
  // The picture is in by now: what comes with the last answers is kept from the library and does no harm.
  if (garbled || unreadableMessage_) return platform::kIOReturnIOError;
  return status;
}

// A time-out alone does not end the job here: the scanner may begin to send all the same.
void JobWatch::judgeFailedAnswer(platform::IOReturn status) {
  if (status == platform::kIOReturnNoDevice) {
    endJob(outcome::wentAway());
  } else if (!isTimeOut(status)) {
    endJob(outcome::transferFailed(status));
  }
}

platform::IOReturn JobWatch::judgeFailedDataRead(platform::IOReturn status, std::uint32_t waitedMs) {
  lastFailure_ = status;
  if (status == platform::kIOReturnNoDevice) {
    endJob(outcome::wentAway());
  } else if (imagePacketCame_) {
    phase_ = Phase::afterwards;
  } else {
    if (isTimeOut(status)) silentMs_ += waitedMs;
    if (++failedReads_ >= limits_.failedReadsBeforePicture) endJob(incomplete());
  }
  return ended_ ? platform::kIOReturnNoDevice : status;
}

void JobWatch::judgeDataRead(std::uint32_t size) {
  streamBytes_ += size;
  emptyReads_ = size == 0 ? emptyReads_ + 1 : 0;
  if (size > 0) failedReads_ = 0;
  if (emptyReads_ > emptyReadsLimit || streamBytes_ > longestStream) endJob(outcome::garbledStream());
  if (!ended_) reportProgress();
}

void JobWatch::control(std::string_view message) {
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

void JobWatch::imageBytes(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t headerPart = header_.feed(bytes, count);
  if (header_.state() == PictureHeader::State::wrong && phase_ == Phase::picture) {
    endJob(outcome::unreadablePicture(header_.complaint()));
  }
  arrived_ += count - headerPart;
}

void JobWatch::imagePacketEnds() {
  imagePacketCame_ = true;
  whole_ = arrived_;
}

void JobWatch::reportProgress() {
  const bool known = header_.state() == PictureHeader::State::complete;
  const std::uint64_t total = known ? header_.rasterBytes() : expectedRaster_;
  const std::uint64_t bytes = std::min(arrived_, total);
  if (bytes <= reported_ || !progress_) return;
  reported_ = bytes;
  progress_({bytes, total});
}

ScanOutcome JobWatch::incomplete() const {
  const bool begun = header_.state() == PictureHeader::State::complete;
  if (lastFailure_ != platform::kIOReturnSuccess && !isTimeOut(lastFailure_)) {
    return outcome::transferFailed(lastFailure_);
  }
  if (!begun) return phase_ == Phase::picture ? outcome::silent(silentMs_ / 1000) : outcome::noPicture();
  const std::uint64_t rows = std::min<std::uint64_t>(arrived_ / header_.rowBytes(), header_.height() - 1);
  return outcome::incompletePicture(rows, header_.height());
}

ScanOutcome JobWatch::verdict() const {
  if (ended_) return *ended_;
  if (cancel_ != nullptr && cancel_->requested()) return outcome::cancelled();
  const bool known = header_.state() == PictureHeader::State::complete;
  if (!known || whole_ < header_.rasterBytes()) return incomplete();
  return outcome::good();
}

}  // namespace frontend
