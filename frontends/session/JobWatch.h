#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "CancelFlag.h"
#include "IOReturn.h"
#include "PacketCutter.h"
#include "PictureHeader.h"
#include "ScanOutcome.h"

namespace frontend {

// How much of the picture's raster has arrived. `bytes` never falls and never exceeds `total`.
struct ScanProgress {
  std::uint64_t bytes;
  std::uint64_t total;
};

using ProgressReader = std::function<void(const ScanProgress&)>;

// Pipe references that the driver has chosen; 0 is none.
struct JobPipes {
  std::uint8_t out = 0;
  std::uint8_t reply = 0;
  std::uint8_t data = 0;
};

struct WatchLimits {
  // The data read that fails as the so-manieth in a row before the picture ends the job; each waits for 15 s.
  std::uint32_t failedReadsBeforePicture = 4;
};

// Looks at every transfer of one scan job and says when the job cannot come to a good end, since the library
// itself would go on for ever (silence before the picture, a refused job, a cancel) or deliver something that
// is no whole picture. Does no I/O: the stack that it is asked by does. The job is ended by answering
// everything with "no device", which is the library's designed way out. One thread.
class JobWatch : private PacketCutter::Listener {
 public:
  // `cancel` may be null; it and what `progress` refers to outlive the watch. `expectedRaster` is the total
  // to report until the picture's own header tells it.
  JobWatch(const CancelFlag* cancel, std::uint64_t expectedRaster, ProgressReader progress,
           WatchLimits limits = {});

  // Until the pipes are known, everything passes.
  void watchPipes(const JobPipes& pipes) { pipes_ = pipes; }
  const JobPipes& pipes() const { return pipes_; }

  // Whether the next transfer may go to the device. Where not, it is answered with kIOReturnNoDevice.
  bool mayRead(std::uint8_t pipe);
  bool mayWrite(std::uint8_t pipe, const void* bytes, std::uint32_t size);
  // What the library is to be told of a transfer that went to the device: its own status, or another failure
  // where the library must get none of the bytes. `waitedMs` is the no-data time-out of the read.
  platform::IOReturn judgeRead(std::uint8_t pipe, platform::IOReturn status, const void* bytes,
                               std::uint32_t size, std::uint32_t waitedMs);
  platform::IOReturn judgeWrite(std::uint8_t pipe, platform::IOReturn status);
  // Whether the answer read so far stops inside a packet, so that its rest should be read at once: the
  // library gives each answer one read only.
  bool answerIsCut(std::uint8_t pipe) const;

  // Why the job was ended early; nothing if it was not.
  const std::optional<ScanOutcome>& ended() const { return ended_; }
  // What to think of a job that ran to its end.
  ScanOutcome verdict() const;
  const PictureHeader& header() const { return header_; }

 private:
  enum class Phase : std::uint8_t { calls, picture, afterwards };

  void control(std::string_view message) override;
  void imageBytes(const std::uint8_t* bytes, std::size_t count) override;
  void imagePacketEnds() override;

  bool mayGoOn();
  void endJob(ScanOutcome outcome);
  void beginPicture();
  void judgeFailedAnswer(platform::IOReturn status);
  platform::IOReturn judgeFailedDataRead(platform::IOReturn status, std::uint32_t waitedMs);
  void judgeDataRead(std::uint32_t size);
  void reportProgress();
  ScanOutcome incomplete() const;

  const CancelFlag* cancel_;
  std::uint64_t expectedRaster_;
  ProgressReader progress_;
  WatchLimits limits_;
  JobPipes pipes_;
  PacketCutter cutter_{*this};
  Phase phase_ = Phase::calls;
  std::optional<ScanOutcome> ended_;

  std::string request_;             // the method of the call in flight; empty before the first
  bool answered_ = true;            // it has a whole, readable answer
  bool unreadableMessage_ = false;  // the latest read brought a message that nobody can read

  std::uint32_t failedReads_ = 0;  // data reads in a row
  std::uint32_t emptyReads_ = 0;
  std::uint64_t silentMs_ = 0;
  std::uint64_t streamBytes_ = 0;
  platform::IOReturn lastFailure_ = platform::kIOReturnSuccess;  // of a data read

  PictureHeader header_;
  bool imagePacketCame_ = false;  // a whole one: from now on the library takes a failed read for the end
  std::uint64_t arrived_ = 0;     // raster bytes
  std::uint64_t whole_ = 0;       // those of them whose packet is whole
  std::uint64_t reported_ = 0;
};

}  // namespace frontend
