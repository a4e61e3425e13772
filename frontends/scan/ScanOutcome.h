#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "IOReturn.h"
#include "PictureLayout.h"

namespace frontend {

enum class ScanStatus : std::uint8_t {
  good,
  cancelled,
  noDevice,      // there is none, or it was disconnected
  busy,          // another program uses it
  accessDenied,  // the system denies this user access
  timedOut,      // it is connected but does not respond
  badData,       // it sent no complete picture
  ioError,       // a transfer failed, or the worker did
  refused,       // it replied that it will not scan
  noMemory,
};

// How a scan ended, with one or two sentences for the user: what happened and what to do about it.
struct ScanOutcome {
  ScanStatus status;
  std::string sentence;

  bool good() const { return status == ScanStatus::good; }
};

// Every outcome there is, so that each text is written in one place.
namespace outcome {

ScanOutcome good();
ScanOutcome cancelled();
ScanOutcome noScanner();
ScanOutcome wentAway();
ScanOutcome notThisModel();
// The scanners cannot be listed, since USB does not work at all; `why` is a sentence without its full stop.
ScanOutcome noUsb(std::string_view why);
// The same because the system did not list its devices within this time.
ScanOutcome usbHangs(std::uint64_t milliseconds);
ScanOutcome busy();
ScanOutcome accessDenied();
// The scanner did not reply to the request of this name ("create").
ScanOutcome noAnswer(std::string_view request);
// The scanner sent no byte of the picture for this long, whether before the first one or later.
ScanOutcome silent(std::uint64_t milliseconds);
// The same after a part of the picture.
ScanOutcome stopped(std::uint64_t rows, std::uint64_t ofRows, std::uint64_t milliseconds);
// The scanner was never silent for long, but the picture was not complete after this time.
ScanOutcome tooSlow(std::uint64_t milliseconds);
// `reason` is the device's text, of any length and content, or empty.
ScanOutcome refused(std::string_view reason);
ScanOutcome unreadableAnswer(std::string_view request);
ScanOutcome garbledStream();
ScanOutcome noPicture();
// `why` is a clause about the header ("it has no size").
ScanOutcome unreadablePicture(std::string_view why);
ScanOutcome incompletePicture(std::uint64_t rows, std::uint64_t ofRows);
// The header announces another size or color than requested.
ScanOutcome otherPicture(const PictureLayout& sent, const PictureLayout& expected);
ScanOutcome transferFailed(platform::IOReturn status);
// Its sentence needs no memory, for when there is none to report it with.
inline constexpr std::string_view noMemorySentence =
    "There is not enough memory for the picture. Close other programs, or scan a smaller area or at a "
    "lower resolution.";
ScanOutcome noMemory();
// The worker could not be started; `why` is the system's error message. An empty path stands for
// an unknown one.
ScanOutcome workerMissing(std::string_view path, std::string_view why);
// The same by error number: a system that has no memory, process or descriptor left is another matter.
ScanOutcome workerNotStarted(std::string_view path, int error);
// It was started, but ended before its first instruction.
ScanOutcome workerDidNotRun(std::string_view path);
// The outcome that a worker reported, without control characters in its sentence, on which a terminal would
// act: a worker that a scanner has taken over sends what it likes. Takes no memory.
ScanOutcome reported(ScanOutcome outcome) noexcept;
// The worker ended without an outcome. `how` is a clause ("it was killed by signal 11").
ScanOutcome workerDied(std::string_view how);
// The worker was killed by SIGKILL, which the system does where memory runs out.
ScanOutcome workerKilled();
// The worker's messages are invalid: it is of another version, or broken.
ScanOutcome workerGarbled();
// The scanner's name or an option of the virtual scanner is invalid; `why` is a sentence.
ScanOutcome wrongRequest(std::string_view why);

}  // namespace outcome

}  // namespace frontend
