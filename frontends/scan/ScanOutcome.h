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
  noDevice,      // there is none, or it went away
  busy,          // another program has it
  accessDenied,  // the system does not let this user have it
  timedOut,      // it is there and stays silent
  badData,       // what it sent is no whole picture
  ioError,       // a transfer failed
  refused,       // it answered that it will not scan
  noMemory,
};

// How a scan ended, with one or two sentences for people that say what happened and what to do about it.
struct ScanOutcome {
  ScanStatus status;
  std::string sentence;

  bool good() const { return status == ScanStatus::good; }
};

// Every outcome there is, so that each sentence stands in one place.
namespace outcome {

ScanOutcome good();
ScanOutcome cancelled();
ScanOutcome noScanner();
ScanOutcome wentAway();
ScanOutcome notThisModel();
ScanOutcome busy();
ScanOutcome accessDenied();
// The scanner did not answer the request named `request` ("create").
ScanOutcome noAnswer(std::string_view request);
// No byte of the picture came during `milliseconds`, its begin included.
ScanOutcome silent(std::uint64_t milliseconds);
// `reason` is what the device said, of any length and content, or empty.
ScanOutcome refused(std::string_view reason);
ScanOutcome unreadableAnswer(std::string_view request);
ScanOutcome garbledStream();
ScanOutcome noPicture();
// `why` says what is wrong with the header, as a clause ("it has no size").
ScanOutcome unreadablePicture(std::string_view why);
ScanOutcome incompletePicture(std::uint64_t rows, std::uint64_t ofRows);
// The header tells another size or colour than was asked for.
ScanOutcome otherPicture(const PictureLayout& sent, const PictureLayout& expected);
ScanOutcome transferFailed(platform::IOReturn status);
ScanOutcome noMemory();
// The program that scans could not be started; `why` is what the system says.
ScanOutcome workerMissing(std::string_view path, std::string_view why);
// It ended before it said how the scan went. `how` is a clause ("signal 11 ended it").
ScanOutcome workerDied(std::string_view how);
// What it says cannot be understood: it belongs to another version, or is broken.
ScanOutcome workerGarbled();
// `name` is no scanner's name, or an option of the virtual scanner is wrong; `why` is a sentence.
ScanOutcome wrongRequest(std::string_view why);

}  // namespace outcome

}  // namespace frontend
