#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Cancellation.h"
#include "IOReturn.h"
#include "JobState.h"
#include "PacketReader.h"
#include "PictureListener.h"
#include "PictureProgress.h"
#include "ScanOutcome.h"
#include "StreamBounds.h"
#include "TransferTimes.h"

namespace frontend {

struct MessageSummary;

enum class PipeRole : std::uint8_t { other, out, reply, data };

// Pipe references that the driver has chosen; 0 is none.
struct JobPipes {
  std::uint8_t out = 0;
  std::uint8_t reply = 0;
  std::uint8_t data = 0;

  PipeRole roleOf(std::uint8_t pipe) const;
};

// What a watch depends on. What is referred to outlives the watch.
struct WatchSetup {
  const Cancellation* cancel = nullptr;  // checked before every transfer; may be null
  PictureListener* picture = nullptr;    // gets the rows while they arrive; may be null
  std::uint32_t timeoutMs = 30000;       // how long the scanner may be silent, at least 1
  std::uint64_t rasterBytes = 0;         // of the picture that is requested; bounds the stream and its time
  TimeSource now = std::chrono::steady_clock::now;
};

// Judges one scan job by its transfers: turns them into the events of JobState.h, ends a job that would never
// end well by itself (the library waits for ever for a picture that does not begin, ignores refusals, cannot
// be cancelled and takes whatever number of bytes, packets and messages there are), ends a picture at once
// where the library would wait for a time-out, and returns the verdict on the whole.
//
// Does no I/O: the stack that consults it does. To end a job, every further transfer returns "no device",
// which is the library's designed way out. Throws std::bad_alloc alone, after which only noteOutOfMemory()
// and verdict() make sense. One thread, but for the cancellation.
class JobWatch : private wire::PacketReader::Listener {
 public:
  explicit JobWatch(const WatchSetup& setup);

  // Until the pipes are known, everything passes but after a cancel.
  void watchPipes(const JobPipes& pipes) { pipes_ = pipes; }
  const JobPipes& pipes() const { return pipes_; }

  // Nothing if the next transfer may go to the device; otherwise the status that the library receives
  // instead. Called once before every transfer.
  std::optional<platform::IOReturn> beforeRead(std::uint8_t pipe);
  std::optional<platform::IOReturn> beforeWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size);
  // The time-outs of the next transfer, of those that the library asks for.
  TransferTimeouts timeoutsFor(std::uint8_t pipe, const TransferTimeouts& asked) const;
  // Whether a cancel may abort the next transfer. The last calls leave the scanner ready.
  bool mayBeAborted() const { return state_ != JobState::leaving; }

  // The status that the library gets for a read that went to the device: its own, or another failure where
  // the library must get none of the bytes. Nothing where the read has only waited and is to be repeated,
  // without a word to the library. `waitedMs` is its no-data time-out.
  std::optional<platform::IOReturn> afterRead(std::uint8_t pipe, platform::IOReturn status, const void* bytes,
                                              std::uint32_t size, std::uint32_t waitedMs);
  platform::IOReturn afterWrite(std::uint8_t pipe, platform::IOReturn status);
  // Whether the reply read so far ends inside a packet, so that its rest has to be read at once: the library
  // reads each reply only once.
  bool answerIsCut(std::uint8_t pipe) const;
  // A transfer could not be examined for want of memory. Returns the status that the library gets for it. The
  // functions above do the same where the stack below found none (kIOReturnNoMemory).
  platform::IOReturn noteOutOfMemory();

  JobState state() const { return state_; }
  // The longest time of the whole job.
  std::chrono::milliseconds timeLimit() const { return times_.jobLimit(); }
  // How the job ended: early, or by itself with what has arrived until now.
  ScanOutcome verdict() const;

 private:
  void onHeader() override;
  void onControlMessage(std::string_view message) override;
  void onImageBytes(const std::uint8_t* bytes, std::size_t count) override;
  void onImagePacketEnd() override;
  void onImageJobEnd() override;

  void raise(JobEvent event);
  bool cancelRequested() const { return cancel_ != nullptr && cancel_->requested(); }
  bool endedOrCancelled();
  platform::IOReturn afterGoodRead(PipeRole role, const void* bytes, std::uint32_t size);
  std::optional<platform::IOReturn> afterFailedRead(PipeRole role, platform::IOReturn status,
                                                    std::uint32_t waitedMs);
  platform::IOReturn afterFailedDataRead(platform::IOReturn status);
  bool mayKeepWaiting(PipeRole role) const;
  void noteFailedCall(platform::IOReturn status);
  JobEvent eventOfFailedDataRead(platform::IOReturn status);
  JobEvent eventOf(const MessageSummary& answer) const;
  ScanOutcome outcomeOfEnd() const;
  ScanOutcome outcomeOfEndedStream() const;

  const Cancellation* cancel_;
  JobPipes pipes_;
  JobState state_ = JobState::calling;
  JobEvent endedBy_{};  // the event that led to the state `over`
  TransferTimes times_;
  StreamBounds bounds_;
  PictureProgress picture_;
  wire::PacketReader packets_{*this};
  bool withheld_ = false;  // the library must not get the bytes of the read that is examined
  std::string request_;    // the method of the latest of the first calls
  std::string reason_;     // why the scanner refused it
  platform::IOReturn callFailure_ = platform::kIOReturnSuccess;
  platform::IOReturn dataFailure_ = platform::kIOReturnSuccess;  // the latest, time-outs aside
};

}  // namespace frontend
