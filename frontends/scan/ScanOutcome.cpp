#include "ScanOutcome.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace frontend {
namespace {

constexpr char powerCycle[] = " Switch the scanner off and on, then scan again.";
constexpr char scanAgain[] = " Scan again; if the problem persists, switch the scanner off and on.";
constexpr std::size_t longestReason = 120;

// Text from a device as one line of plain ASCII: a terminal would act on control characters.
std::string printableReason(std::string_view text) {
  std::string result;
  for (const char character : text.substr(0, longestReason)) {
    const bool plain = character >= ' ' && character <= '~';
    result += plain ? character : '?';
  }
  if (text.size() > longestReason) result += "...";
  return result;
}

std::string hexadecimal(platform::IOReturn status) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(status));
  return text;
}

std::string secondsOf(std::uint64_t milliseconds) {
  const std::uint64_t seconds = (milliseconds + 999) / 1000;
  return std::to_string(seconds) + (seconds == 1 ? " second." : " seconds.");
}

std::string couldNotBeStarted(std::string_view path, std::string_view why) {
  return "The scanning program could not be started (" + (path.empty() ? "q750-worker" : std::string(path)) +
         ": " + std::string(why) + ").";
}

// "637 x 876 pixels, color".
std::string description(const PictureLayout& layout) {
  const char* kind = layout.channels == 3 ? "color" : layout.bitsPerChannel == 1 ? "lineart" : "gray";
  return std::to_string(layout.width) + " x " + std::to_string(layout.height) + " pixels, " + kind;
}

}  // namespace

namespace outcome {

ScanOutcome good() {
  return {ScanStatus::good, "The page was scanned."};
}

ScanOutcome cancelled() {
  return {ScanStatus::cancelled, "The scan was cancelled; nothing was saved."};
}

ScanOutcome noScanner() {
  return {ScanStatus::noDevice, "No scanner was found. Connect the scanner, switch it on and scan again."};
}

ScanOutcome wentAway() {
  return {ScanStatus::noDevice,
          "The scanner was disconnected during the scan. Check its cable and power, then scan again."};
}

ScanOutcome notThisModel() {
  return {
      ScanStatus::noDevice,
      "The device found is not a Quenvar Q750: it lacks the scanner's pipes. Disconnect other USB devices "
      "and scan again."};
}

ScanOutcome noUsb(std::string_view why) {
  return {ScanStatus::noDevice, std::string(why)};
}

ScanOutcome usbHangs(std::uint64_t milliseconds) {
  return {ScanStatus::timedOut, "This computer did not list its USB devices within " +
                                    secondsOf(milliseconds) +
                                    " Unplug devices that do not respond, or restart the computer."};
}

ScanOutcome busy() {
  return {ScanStatus::busy, "The scanner is in use by another program. Close that program and scan again."};
}

ScanOutcome accessDenied() {
  return {ScanStatus::accessDenied,
          "You do not have permission to use the scanner. Ask the administrator of this computer for access "
          "(usually membership in the group \"scanner\"), then scan again."};
}

ScanOutcome noAnswer(std::string_view request) {
  return {ScanStatus::timedOut,
          "The scanner does not respond (request \"" + std::string(request) + "\")." + powerCycle};
}

ScanOutcome silent(std::uint64_t milliseconds) {
  return {ScanStatus::timedOut,
          "The scanner accepted the job but sent no data for " + secondsOf(milliseconds) + powerCycle};
}

ScanOutcome stopped(std::uint64_t rows, std::uint64_t ofRows, std::uint64_t milliseconds) {
  return {ScanStatus::timedOut, "The scanner stopped in the middle of the picture: " + std::to_string(rows) +
                                    " of " + std::to_string(ofRows) + " rows arrived, then no data for " +
                                    secondsOf(milliseconds) + powerCycle};
}

ScanOutcome tooSlow(std::uint64_t milliseconds) {
  const std::uint64_t minutes = (milliseconds + 59'999) / 60'000;
  return {ScanStatus::timedOut, "The scanner sends data too slowly: the picture was not complete after " +
                                    std::to_string(minutes) + (minutes == 1 ? " minute." : " minutes.") +
                                    powerCycle};
}

ScanOutcome refused(std::string_view reason) {
  const std::string quoted = reason.empty() ? "" : " Its reason: \"" + printableReason(reason) + "\".";
  return {ScanStatus::refused, "The scanner refused the scan." + quoted +
                                   " Check that it is ready and has no other job, then scan again."};
}

ScanOutcome unreadableAnswer(std::string_view request) {
  return {ScanStatus::badData,
          "The scanner sent an unreadable reply (request \"" + std::string(request) + "\")." + powerCycle};
}

ScanOutcome garbledStream() {
  return {ScanStatus::badData, std::string("The scanner's data is garbled.") + powerCycle};
}

ScanOutcome noPicture() {
  return {ScanStatus::badData, std::string("The scanner finished without sending a picture.") + scanAgain};
}

ScanOutcome unreadablePicture(std::string_view why) {
  return {ScanStatus::badData, "The scanner's picture cannot be read: " + std::string(why) + "." + scanAgain};
}

ScanOutcome incompletePicture(std::uint64_t rows, std::uint64_t ofRows) {
  return {ScanStatus::badData, "The picture is incomplete: " + std::to_string(rows) + " of " +
                                   std::to_string(ofRows) + " rows arrived." + scanAgain};
}

ScanOutcome otherPicture(const PictureLayout& sent, const PictureLayout& expected) {
  return {ScanStatus::badData, "The scanner sent a different picture (" + description(sent) +
                                   ") than requested (" + description(expected) + ")." + scanAgain};
}

ScanOutcome transferFailed(platform::IOReturn status) {
  const std::string stalled = status == platform::kIOUSBPipeStalled ? ", the pipe stalled" : "";
  return {ScanStatus::ioError, "A USB transfer to or from the scanner failed (status " + hexadecimal(status) +
                                   stalled +
                                   "). Check the cable, connect the scanner without a hub, then scan again."};
}

ScanOutcome noMemory() {
  return {ScanStatus::noMemory, std::string(noMemorySentence)};
}

ScanOutcome workerMissing(std::string_view path, std::string_view why) {
  return {ScanStatus::ioError, couldNotBeStarted(path, why) + " Reinstall this software."};
}

ScanOutcome workerNotStarted(std::string_view path, int error) {
  const std::string why = std::generic_category().message(error);
  switch (error) {
    case ENOMEM:
    case ENOBUFS:
      return noMemory();
    case EAGAIN:
      return {ScanStatus::ioError,
              couldNotBeStarted(path, why) +
                  " Too many processes are running. Close other programs, then scan again."};
    case EMFILE:
    case ENFILE:
      return {ScanStatus::ioError,
              couldNotBeStarted(path, why) + " Close other files and programs, then scan again."};
    default:
      return workerMissing(path, why);
  }
}

// The dynamic loader leaves in the same way where it finds no memory and where it finds no library.
ScanOutcome workerDidNotRun(std::string_view path) {
  return {ScanStatus::ioError, couldNotBeStarted(path, "the system could not run it") +
                                   " If memory is short, close other programs; otherwise reinstall this "
                                   "software."};
}

// The path of a file in it may be in any language: of the characters beyond ASCII, only the control
// characters are replaced, which in UTF-8 are 0xC2 and a byte below 0xA0.
ScanOutcome reported(ScanOutcome outcome) noexcept {
  unsigned char before = 0;
  for (char& character : outcome.sentence) {
    const auto byte = static_cast<unsigned char>(character);
    const bool beyondAscii = before == 0xC2 && byte >= 0x80 && byte < 0xA0;
    if (beyondAscii) *(&character - 1) = '?';
    if (beyondAscii || byte < ' ' || byte == 0x7F) character = '?';
    before = byte;
  }
  return outcome;
}

ScanOutcome workerDied(std::string_view how) {
  return {ScanStatus::ioError, "The scanning program ended unexpectedly: " + std::string(how) +
                                   ". Scan again; if the problem persists, please report it."};
}

ScanOutcome workerKilled() {
  return {
      ScanStatus::ioError,
      "The scanning program ended unexpectedly: it was killed by signal 9, perhaps because memory ran out. "
      "Close other programs, or scan a smaller area or at a lower resolution, then scan again."};
}

ScanOutcome workerGarbled() {
  return {ScanStatus::ioError,
          "The parts of this software do not match. Reinstall all of them in the same version."};
}

ScanOutcome wrongRequest(std::string_view why) {
  return {ScanStatus::noDevice, std::string(why)};
}

}  // namespace outcome
}  // namespace frontend
