#include "ScanOutcome.h"

#include <cstdio>

namespace frontend {
namespace {

constexpr char powerCycle[] = " Switch the scanner off and on again, then scan again.";
constexpr char scanAgain[] = " Scan again; if it happens again, switch the scanner off and on.";
constexpr std::size_t longestReason = 120;

// A device's text on one line of plain ASCII: it may be written to a terminal, which acts on control
// characters.
std::string printable(std::string_view text) {
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

// "637 x 876 pixels, colour".
std::string inWords(const PictureLayout& layout) {
  const char* kind = layout.channels == 3 ? "colour" : layout.bitsPerChannel == 1 ? "lineart" : "grey";
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
  return {ScanStatus::noDevice, "No scanner was found. Plug the scanner in, switch it on and scan again."};
}

ScanOutcome wentAway() {
  return {ScanStatus::noDevice,
          "The scanner went away during the scan. Check its cable and its power, then scan again."};
}

ScanOutcome notThisModel() {
  return {ScanStatus::noDevice,
          "The device that was found is no Quenvar Q750: it lacks the scanner's pipes. Unplug other USB "
          "devices and "
          "scan again."};
}

ScanOutcome busy() {
  return {ScanStatus::busy, "The scanner is in use by another program. Close that program and scan again."};
}

ScanOutcome accessDenied() {
  return {ScanStatus::accessDenied,
          "You are not allowed to use the scanner. Ask the administrator of this computer to give you access "
          "to it "
          "(usually by adding you to the group \"scanner\"), then scan again."};
}

ScanOutcome noAnswer(std::string_view request) {
  return {ScanStatus::timedOut,
          "The scanner does not answer (request \"" + std::string(request) + "\")." + powerCycle};
}

ScanOutcome silent(std::uint64_t milliseconds) {
  const std::uint64_t seconds = (milliseconds + 999) / 1000;
  return {ScanStatus::timedOut, "The scanner took the job and then sent nothing for " +
                                    std::to_string(seconds) + (seconds == 1 ? " second." : " seconds.") +
                                    powerCycle};
}

ScanOutcome refused(std::string_view reason) {
  const std::string said = reason.empty() ? "" : " It says: \"" + printable(reason) + "\".";
  return {ScanStatus::refused,
          "The scanner refused the scan." + said +
              " Check that it is ready and that no other job is running, then scan again."};
}

ScanOutcome unreadableAnswer(std::string_view request) {
  return {ScanStatus::badData, "The scanner's answer cannot be understood (request \"" +
                                   std::string(request) + "\")." + powerCycle};
}

ScanOutcome garbledStream() {
  return {ScanStatus::badData, std::string("What the scanner sends is garbled.") + powerCycle};
}

ScanOutcome noPicture() {
  return {ScanStatus::badData, std::string("The scanner finished without sending a picture.") + scanAgain};
}

ScanOutcome unreadablePicture(std::string_view why) {
  return {ScanStatus::badData,
          "The picture that the scanner sends cannot be read: " + std::string(why) + "." + scanAgain};
}

ScanOutcome incompletePicture(std::uint64_t rows, std::uint64_t ofRows) {
  return {ScanStatus::badData, "The picture is incomplete: " + std::to_string(rows) + " of " +
                                   std::to_string(ofRows) + " rows arrived." + scanAgain};
}

ScanOutcome otherPicture(const PictureLayout& sent, const PictureLayout& expected) {
  return {ScanStatus::badData, "The scanner sends another picture (" + inWords(sent) +
                                   ") than it was asked for (" + inWords(expected) + ")." + scanAgain};
}

ScanOutcome transferFailed(platform::IOReturn status) {
  const std::string stalled = status == platform::kIOUSBPipeStalled ? ", the pipe stalled" : "";
  return {ScanStatus::ioError, "A transfer from or to the scanner failed (USB status " + hexadecimal(status) +
                                   stalled +
                                   "). Check the cable, plug it in without a hub, then scan again."};
}

ScanOutcome noMemory() {
  return {ScanStatus::noMemory,
          "There is not enough memory for the picture. Close other programs, or scan a smaller area or at a "
          "lower "
          "resolution."};
}

ScanOutcome workerMissing(std::string_view path, std::string_view why) {
  return {ScanStatus::ioError, "The program that scans could not be started (" +
                                   (path.empty() ? "q750-worker" : std::string(path)) + ": " +
                                   std::string(why) + "). Install this software again."};
}

ScanOutcome workerDied(std::string_view how) {
  return {ScanStatus::ioError, "The program that scans ended before it was done: " + std::string(how) +
                                   ". Scan again; if it happens again, please report it."};
}

ScanOutcome workerGarbled() {
  return {
      ScanStatus::ioError,
      "The parts of this software do not understand each other. Install all of it again, in one version."};
}

ScanOutcome wrongRequest(std::string_view why) {
  return {ScanStatus::noDevice, std::string(why)};
}

}  // namespace outcome
}  // namespace frontend
