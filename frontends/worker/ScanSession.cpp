#include "ScanSession.h"

#include <new>

#include "CScannerDriver.h"
#include "DriverHandle.h"
#include "LibraryArea.h"
#include "ScannerInterface.h"
#include "WorkerClock.h"

namespace frontend {
namespace {

// The exported interface's codes for the pixel layout.
constexpr std::int32_t grayCode = 2;
constexpr std::int32_t colorCode = 0;
// What StartScan returns where the job or its copy of the picture found no memory.
constexpr std::int32_t notKept = 1;

}  // namespace

ScanSession::ScanSession(platform::UsbStack& stack, const ScanSettings& settings, const SessionHooks& hooks)
    : settings_(settings),
      watch_({hooks.cancel, hooks.picture, hooks.timeoutMs, settings.rasterBytes(), jobTime}),
      stack_(stack, watch_, hooks.transfers),
      environment_(stack_, hooks.log) {}

// The interface never frees the driver object behind the handle: it stays with the process.
ScanSession::~ScanSession() {
  if (handle_ != 0) DisableScanner(handle_);
}

ScanOutcome ScanSession::run() {
  try {
    return scan();
  } catch (const std::bad_alloc&) {
    return outcome::noMemory();
  }
}

ScanOutcome ScanSession::scan() {
  handle_ = EnableScanner();
  if (!stack_.holdsInterface()) return whyNotOpen();
  const CScannerDriver& driver = driverBehind(handle_);
  const JobPipes pipes{driver.outPipe(), driver.replyPipe(), driver.dataPipe()};
  watch_.watchPipes(pipes);
  // The library takes the first USB interface that opens, of whatever device.
  if (pipes.out == 0 || pipes.reply == 0 || pipes.data == 0) return outcome::notThisModel();
  setArea();
  return outcomeOf(StartScan(handle_));
}

void ScanSession::setArea() const {
  const LibraryArea area = libraryArea(settings_.area, settings_.resolution);
  const auto resolution = static_cast<std::int32_t>(settings_.resolution);
  const std::int32_t mode = settings_.mode == ColorMode::gray ? grayCode : colorCode;
  SetScanParameterEx(handle_, resolution, resolution, mode, area.left, area.top, area.right, area.bottom);
}

// EnableScanner returns a driver in any case: why it has no interface is known to the stack alone.
ScanOutcome ScanSession::whyNotOpen() const {
  switch (const platform::IOReturn failure = stack_.openFailure()) {
    case platform::kIOReturnExclusiveAccess:
    case platform::kIOReturnBusy:
      return outcome::busy();
    case platform::kIOReturnNotPermitted:
    case platform::kIOReturnNotPrivileged:
      return outcome::accessDenied();
    case platform::kIOReturnSuccess:
    case platform::kIOReturnNoDevice:
      return outcome::noScanner();
    case platform::kIOReturnNoMemory:
      return outcome::noMemory();
    default:
      return outcome::transferFailed(failure);
  }
}

// The result says whether the library could keep its copy of the picture, which it never can here: the watch
// decides. Where the library gave up before the watch came to a decision, it ran out of memory for the job.
ScanOutcome ScanSession::outcomeOf(std::int32_t result) const {
  const ScanOutcome verdict = watch_.verdict();
  const bool ended = watch_.state() == JobState::over || watch_.state() == JobState::leaving;
  const bool decided = ended || verdict.good() || verdict.status == ScanStatus::cancelled;
  return result == notKept && !decided ? outcome::noMemory() : verdict;
}

}  // namespace frontend
