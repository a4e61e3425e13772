#include "JobWatch.h"

#include "MessageSummary.h"

namespace frontend {
namespace {

using platform::IOReturn;
using platform::kIOReturnIOError;
using platform::kIOReturnNoDevice;
using platform::kIOReturnNoMemory;
using platform::kIOReturnSuccess;
using platform::kIOUSBTransactionTimeout;

bool isTimeOut(IOReturn status) {
  return status == kIOUSBTransactionTimeout || status == platform::kIOReturnTimeout;
}

std::string methodOf(const void* packet, std::uint32_t size) {
  if (size <= wire::packetHeaderSize) return {};
  const std::string_view text(static_cast<const char*>(packet), size);
  return summarize(text.substr(wire::packetHeaderSize)).method;
}

}  // namespace

PipeRole JobPipes::roleOf(std::uint8_t pipe) const {
  if (pipe == 0) return PipeRole::other;
  if (pipe == data) return PipeRole::data;
  if (pipe == reply) return PipeRole::reply;
  return pipe == out ? PipeRole::out : PipeRole::other;
}

JobWatch::JobWatch(const WatchSetup& setup)
    : cancel_(setup.cancel),
      times_(setup.timeoutMs, setup.rasterBytes, setup.now),
      bounds_(setup.rasterBytes),
      picture_(setup.picture) {}

void JobWatch::raise(JobEvent event) {
  const JobState before = state_;
  state_ = next(before, event);
  if (isWithheld(before, event)) withheld_ = true;
  if (state_ == before) return;
  if (state_ == JobState::over) endedBy_ = event;
  if (state_ == JobState::awaitingPicture) times_.restart();
  if (state_ == JobState::leaving) times_.beginLastCalls();
}

// A cancel has no event of its own that would wake the scanning thread: it is found at the next step.
bool JobWatch::endedOrCancelled() {
  if (cancelRequested()) raise(JobEvent::cancel);
  return state_ == JobState::over;
}

std::optional<IOReturn> JobWatch::beforeRead(std::uint8_t pipe) {
  const JobState before = state_;
  if (pipes_.roleOf(pipe) == PipeRole::data) raise(JobEvent::dataRead);
  if (endedOrCancelled()) return kIOReturnNoDevice;
  if (pipes_.roleOf(pipe) != PipeRole::data || state_ != JobState::leaving) return std::nullopt;
  // A time-out ends a delivered picture for the library. If it reads on nevertheless, it has missed the
  // picture, because memory ran out, and would read for ever.
  return before == JobState::delivered ? kIOUSBTransactionTimeout : kIOReturnNoDevice;
}

std::optional<IOReturn> JobWatch::beforeWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size) {
  if (pipes_.roleOf(pipe) == PipeRole::out && state_ != JobState::over) {
    times_.restart();
    raise(JobEvent::call);
    if (state_ == JobState::awaitingAnswer) request_ = methodOf(bytes, size);
  }
  if (endedOrCancelled()) return kIOReturnNoDevice;
  return std::nullopt;
}

TransferTimeouts JobWatch::timeoutsFor(std::uint8_t pipe, const TransferTimeouts& asked) const {
  return pipes_.roleOf(pipe) == PipeRole::data ? times_.forJobStream(asked) : times_.forCall(asked);
}

IOReturn JobWatch::afterWrite(std::uint8_t pipe, IOReturn status) {
  if (status == kIOReturnSuccess || pipes_.roleOf(pipe) != PipeRole::out) return status;
  if (status == kIOReturnNoMemory) return noteOutOfMemory();
  if (takesPicture(state_)) return status;
  if (endedOrCancelled()) return kIOReturnNoDevice;
  if (isTimeOut(status)) {
    raise(JobEvent::callTimedOut);
  } else {
    noteFailedCall(status);
  }
  return status;
}

// Each piece of a reply restarts the time-out: otherwise one of the last calls would last as long as single
// bytes arrive.
bool JobWatch::answerIsCut(std::uint8_t pipe) const {
  const bool expected = state_ != JobState::over && !times_.lastCallsOver();
  return pipes_.roleOf(pipe) == PipeRole::reply && expected && packets_.insidePacket();
}

std::optional<IOReturn> JobWatch::afterRead(std::uint8_t pipe, IOReturn status, const void* bytes,
                                            std::uint32_t size, std::uint32_t waitedMs) {
  const PipeRole role = pipes_.roleOf(pipe);
  if (role != PipeRole::data && role != PipeRole::reply) return status;
  if (status == kIOReturnNoMemory) return noteOutOfMemory();
  if (status != kIOReturnSuccess) return afterFailedRead(role, status, waitedMs);
  return afterGoodRead(role, bytes, size);
}

IOReturn JobWatch::afterGoodRead(PipeRole role, const void* bytes, std::uint32_t size) {
  if (state_ == JobState::over) return kIOReturnNoDevice;
  withheld_ = false;
  if (size > 0) times_.restart();
  if (!packets_.feed(static_cast<const std::uint8_t*>(bytes), size)) raise(JobEvent::garbled);
  if (role == PipeRole::data && !bounds_.noteRead(size)) raise(JobEvent::garbled);
  if (times_.overdue()) raise(JobEvent::overdue);
  // The front end may have its picture now. The last calls, and whatever fails in them, are none
  // of its business.
  if (state_ == JobState::delivered || state_ == JobState::leaving) picture_.reportWhole();
  if (state_ == JobState::over) return kIOReturnNoDevice;
  return withheld_ ? kIOReturnIOError : kIOReturnSuccess;
}

std::optional<IOReturn> JobWatch::afterFailedRead(PipeRole role, IOReturn status, std::uint32_t waitedMs) {
  if (endedOrCancelled()) return kIOReturnNoDevice;
  if (isTimeOut(status)) {
    times_.noteSilence(waitedMs);
    if (mayKeepWaiting(role)) return std::nullopt;
  }
  if (role == PipeRole::data) return afterFailedDataRead(status);
  // Silence alone does not end the job here. Without an answer to "start" the scanner may begin to send all
  // the same; without another one the next call ends the job.
  if (!isTimeOut(status)) noteFailedCall(status);
  return status;
}

bool JobWatch::mayKeepWaiting(PipeRole role) const {
  if (state_ == JobState::leaving || times_.timedOut()) return false;
  const bool quietEnd = role == PipeRole::data && picture_.isWhole() && times_.quiet();
  return !quietEnd;
}

void JobWatch::noteFailedCall(IOReturn status) {
  callFailure_ = status;
  raise(status == kIOReturnNoDevice ? JobEvent::deviceGone : JobEvent::callFailed);
}

IOReturn JobWatch::afterFailedDataRead(IOReturn status) {
  raise(eventOfFailedDataRead(status));
  return state_ == JobState::over ? kIOReturnNoDevice : status;
}

JobEvent JobWatch::eventOfFailedDataRead(IOReturn status) {
  if (status == kIOReturnNoDevice) return JobEvent::deviceGone;
  if (isTimeOut(status)) return picture_.isWhole() ? JobEvent::quietEnd : JobEvent::silence;
  dataFailure_ = status;
  return bounds_.noteFailure() ? JobEvent::dataFailed : JobEvent::dataKeepsFailing;
}

// A picture that is whole stays so, whatever could not be remembered of what follows it.
IOReturn JobWatch::noteOutOfMemory() {
  if (endedOrCancelled()) return kIOReturnNoDevice;
  raise(picture_.isWhole() ? JobEvent::quietEnd : JobEvent::outOfMemory);
  return state_ == JobState::over ? kIOReturnNoDevice : kIOReturnIOError;
}

// The library keeps something of every packet, also of one without a payload.
void JobWatch::onHeader() {
  if (!bounds_.notePacket()) raise(JobEvent::garbled);
}

// The library takes no message out of the job stream, which may hold any; but it parses each, and a document
// type can make a short one take minutes.
void JobWatch::onControlMessage(std::string_view message) {
  if (state_ == JobState::over) return;
  if (!bounds_.noteMessage(message.size())) return raise(JobEvent::garbled);
  const bool answersACall = !takesPicture(state_) || state_ == JobState::leaving;
  MessageSummary summary = summarize(message);
  if (!answersACall) {
    if (summary.hasDocumentType) raise(JobEvent::garbled);
    return;
  }
  const JobEvent event = eventOf(summary);
  if (event == JobEvent::refusal) reason_ = std::move(summary.reason);
  raise(event);
}

JobEvent JobWatch::eventOf(const MessageSummary& summary) const {
  const bool creating = request_ == "create";
  if (summary.kind == MessageKind::exception) {
    // Other calls may fail: a scanner that is left in the mode of an earlier job refuses to enter it.
    return creating || request_ == "start" ? JobEvent::refusal : JobEvent::answer;
  }
  // The answer to "create" names the job. Without a name the library would go on with that of the job before.
  const bool complete = summary.kind == MessageKind::response && (summary.hasResult || !creating);
  return complete ? JobEvent::answer : JobEvent::unreadableAnswer;
}

void JobWatch::onImageBytes(const std::uint8_t* bytes, std::size_t count) {
  if (!takesPicture(state_)) return;
  switch (picture_.take(bytes, count)) {
    case PictureProgress::Taken::wanted:
      return;
    case PictureProgress::Taken::unreadable:
      return raise(JobEvent::unreadablePicture);
    case PictureProgress::Taken::refused:
      return raise(JobEvent::refusedPicture);
    case PictureProgress::Taken::unwanted:
      return raise(JobEvent::unwantedRows);
  }
}

void JobWatch::onImagePacketEnd() {
  picture_.endPacket();
  raise(JobEvent::imagePacket);
}

void JobWatch::onImageJobEnd() {
  raise(JobEvent::jobEnd);
}

ScanOutcome JobWatch::verdict() const {
  if (state_ == JobState::over) return outcomeOfEnd();
  if (cancelRequested()) return outcome::cancelled();
  if (picture_.isWhole()) return outcome::good();
  // A failed read explains the rows that are missing better than their number.
  if (dataFailure_ != kIOReturnSuccess) return outcome::transferFailed(dataFailure_);
  return picture_.incomplete();
}

ScanOutcome JobWatch::outcomeOfEnd() const {
  switch (endedBy_) {
    case JobEvent::call:
      return packets_.insidePacket() ? outcome::unreadableAnswer(request_) : outcome::noAnswer(request_);
    case JobEvent::callTimedOut:
      return outcome::noAnswer(request_);
    case JobEvent::refusal:
      return outcome::refused(reason_);
    case JobEvent::unreadableAnswer:
      return outcome::unreadableAnswer(request_);
    case JobEvent::callFailed:
      return outcome::transferFailed(callFailure_);
    case JobEvent::deviceGone:
      return outcome::wentAway();
    case JobEvent::outOfMemory:
      return outcome::noMemory();
    default:
      return outcomeOfEndedStream();
  }
}

ScanOutcome JobWatch::outcomeOfEndedStream() const {
  switch (endedBy_) {
    case JobEvent::dataRead:
      return outcome::noPicture();
    case JobEvent::dataKeepsFailing:
      return outcome::transferFailed(dataFailure_);
    case JobEvent::silence:
      return picture_.silent(times_.silentMs());
    case JobEvent::overdue:
      return outcome::tooSlow(static_cast<std::uint64_t>(times_.jobLimit().count()));
    case JobEvent::garbled:
      return outcome::garbledStream();
    case JobEvent::unreadablePicture:
      return outcome::unreadablePicture(picture_.header().complaint());
    case JobEvent::refusedPicture:
      return picture_.refusal();
    default:  // a cancel, or rows that nobody wants any more
      return outcome::cancelled();
  }
}

}  // namespace frontend
