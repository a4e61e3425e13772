#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Cancellation.h"
#include "IOReturn.h"
#include "PacketReader.h"
#include "PictureHeader.h"
#include "PictureListener.h"
#include "ScanOutcome.h"

namespace frontend {

// Pipe references that the driver has chosen; 0 is none.
struct JobPipes {
  std::uint8_t out = 0;
  std::uint8_t reply = 0;
  std::uint8_t data = 0;
};

struct WatchLimits {
  // How long the scanner may be silent while its answer, or the next piece of the picture, is due. At
  // least 1.
  std::uint32_t timeoutMs = 30000;
};

// Looks at every transfer of one scan job and says when the job cannot come to a good end, since the library
// itself would go on for ever (silence before the picture, a refused job, a cancel) or deliver something that
// is no whole picture; and when it has come to a good one, which the library would learn of by waiting. Does
// no I/O: the stack that it is asked by does. A job is ended early by answering everything with "no device",
// which is the library's designed way out. One thread.
class JobWatch : private wire::PacketReader::Listener {
 public:
  // `cancel` and `picture` may be null; they outlive the watch.
  explicit JobWatch(const Cancellation* cancel, WatchLimits limits = {}, PictureListener* picture = nullptr);

  // Until the pipes are known, everything passes.
  void watchPipes(const JobPipes& pipes) { pipes_ = pipes; }
  const JobPipes& pipes() const { return pipes_; }

  // Whether the next transfer may go to the device. Where not, it is answered with kIOReturnNoDevice.
  bool mayRead(std::uint8_t pipe);
  bool mayWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size);
  // Whether this pipe has nothing to read any more, since the scanner told the end of its job. The read is
  // then answered with a time-out, which is how the library finds the end of the picture.
  bool isExhausted(std::uint8_t pipe);
  // How long the next transfer may wait for its first byte, of the time that the library would wait.
  std::uint32_t waitFor(std::uint8_t pipe, std::uint32_t noDataTimeoutMs) const;
  // How long it may take in all.
  std::uint32_t completionFor(std::uint8_t pipe, std::uint32_t completionTimeoutMs) const;
  // Whether a cancel may end the transfer that comes next. The last calls leave the scanner ready.
  bool mayBeAborted() const { return phase_ != Phase::afterwards; }

  // What the library is to be told of a transfer that went to the device: its own status, or another failure
  // where the library must get none of the bytes. `waitedMs` is the no-data time-out of the read.
  platform::IOReturn judgeRead(std::uint8_t pipe, platform::IOReturn status, const void* bytes,
                               std::uint32_t size, std::uint32_t waitedMs);
  platform::IOReturn judgeWrite(std::uint8_t pipe, platform::IOReturn status);
  // Whether the read judged last is to be done again instead of telling the library: it has only waited.
  bool readAgain() const { return readAgain_; }
  // Whether the answer read so far stops inside a packet, so that its rest should be read at once: the
  // library gives each answer one read only.
  bool answerIsCut(std::uint8_t pipe) const;

  // Whether the library has taken all that it will take of the picture. The last calls come then.
  bool pictureIsOver() const { return phase_ == Phase::afterwards; }
  // Why the job was ended early; nothing if it was not.
  const std::optional<ScanOutcome>& ended() const { return ended_; }
  // What to think of a job that ran to its end.
  ScanOutcome verdict() const;

 private:
  enum class Phase : std::uint8_t { calls, picture, afterwards };
  using Clock = std::chrono::steady_clock;

  void onControlMessage(std::string_view message) override;
  void onImageBytes(const std::uint8_t* bytes, std::size_t count) override;
  void onImagePacketEnd() override;
  void onImageJobEnd() override;

  bool mayGoOn();
  void endJob(ScanOutcome outcome);
  void beginPicture();
  void endPicture();
  bool isWhole() const;
  void judgeFailedAnswer(platform::IOReturn status);
  platform::IOReturn judgeFailedRead(bool data, platform::IOReturn status, std::uint32_t waitedMs);
  void judgeSilence(bool data, std::uint32_t waitedMs);
  platform::IOReturn judgeFailedDataRead(platform::IOReturn status);
  void judgeDataRead(std::uint32_t size);
  void showRaster(const std::uint8_t* bytes, std::size_t count);
  ScanOutcome incomplete() const;

  const Cancellation* cancel_;
  WatchLimits limits_;
  PictureListener* picture_;
  JobPipes pipes_;
  wire::PacketReader packets_{*this};
  Phase phase_ = Phase::calls;
  std::optional<ScanOutcome> ended_;
  Clock::time_point lastCallsEnd_;  // set with the phase afterwards

  std::string request_;             // the method of the call in flight; empty before the first
  bool answered_ = true;            // it has a whole, readable answer
  bool unreadableMessage_ = false;  // the latest read brought a message that nobody can read

  bool readAgain_ = false;
  std::uint32_t silentMs_ = 0;     // since the last byte on the pipe that is read
  std::uint32_t failedReads_ = 0;  // data reads in a row that failed otherwise than by a time-out
  std::uint32_t emptyReads_ = 0;
  std::uint64_t streamBytes_ = 0;
  platform::IOReturn lastFailure_ = platform::kIOReturnSuccess;  // of a data read

  PictureHeader header_;
  bool imagePacketCame_ = false;  // a whole one: from now on the library takes a failed read for the end
  bool jobEnded_ = false;         // the scanner said so
  bool toldWhole_ = false;
  std::uint64_t arrived_ = 0;  // raster bytes
  std::uint64_t whole_ = 0;    // those of them whose packet is whole
};

}  // namespace frontend
