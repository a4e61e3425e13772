#include "ScanSession.h"

#include <new>

#include "CScannerDriver.h"
#include "ConversionEnvironment.h"
#include "FileKeeping.h"
#include "LibraryArea.h"
#include "ScannerInterface.h"
#include "WatchedUsbStack.h"

namespace frontend {
namespace {

// Drops every line without reading it, so that it costs nothing.
class QuietSink final : public platform::LogSink {
 public:
  void line(const platform::LogLine& /*line*/) override {}
};

// The exported interface's codes for the pixel layout.
constexpr std::int32_t grayCode = 2;
constexpr std::int32_t colorCode = 0;
// What StartScan answers where the job or its copy of the picture found no memory.
constexpr std::int32_t notKept = 1;

void* noMemoryForACopy(std::size_t /*count*/, std::size_t /*size*/) {
  return nullptr;
}

}  // namespace

struct ScanSession::Supervision {
  Supervision(platform::UsbStack& inner, const SessionHooks& hooks)
      : watch(hooks.cancel, hooks.limits, hooks.picture),
        stack(inner, watch, hooks.transfers),
        stackBefore(&platform::usbStack()),
        filesBefore(platform::filesAreKept()),
        allocationBefore(conversionEnvironment().allocateZeroed) {
    platform::useUsbStack(&stack);
    platform::keepFiles(false);
    conversionEnvironment().allocateZeroed = noMemoryForACopy;
    platform::useLogSink(hooks.log != nullptr ? hooks.log : &quiet);
  }
  ~Supervision() {
    platform::useLogSink(nullptr);
    conversionEnvironment().allocateZeroed = allocationBefore;
    platform::keepFiles(filesBefore);
    platform::useUsbStack(stackBefore);
  }
  Supervision(const Supervision&) = delete;
  Supervision& operator=(const Supervision&) = delete;

  JobWatch watch;
  WatchedUsbStack stack;
  QuietSink quiet;
  platform::UsbStack* stackBefore;
  bool filesBefore;
  decltype(ConversionEnvironment::allocateZeroed) allocationBefore;
};

ScanSession::ScanSession(platform::UsbStack& stack, const ScanSettings& settings, const SessionHooks& hooks)
    : settings_(settings), supervision_(std::make_unique<Supervision>(stack, hooks)) {}

// The interface never frees the driver object behind the handle: it stays with the process.
ScanSession::~ScanSession() {
  if (handle_ != 0) DisableScanner(handle_);
}

const CScannerDriver& ScanSession::driver() const {
  // A handle is the address of its driver.
  return *reinterpret_cast<const CScannerDriver*>(handle_);
}

ScanOutcome ScanSession::run() {
  try {
    return scan();
  } catch (const std::bad_alloc&) {
    return outcome::noMemory();
  }
}

ScanOutcome ScanSession::scan() {
  JobWatch& watch = supervision_->watch;
  handle_ = EnableScanner();
  if (!supervision_->stack.holdsInterface()) return whyNotOpen();
  watch.watchPipes({driver().outPipe(), driver().replyPipe(), driver().dataPipe()});
  const JobPipes& pipes = watch.pipes();
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

ScanOutcome ScanSession::whyNotOpen() const {
  if (supervision_->stack.outOfMemory()) return outcome::noMemory();
  switch (const platform::IOReturn failure = supervision_->stack.openFailure()) {
    case platform::kIOReturnExclusiveAccess:
    case platform::kIOReturnBusy:
      return outcome::busy();
    case platform::kIOReturnNotPermitted:
    case platform::kIOReturnNotPrivileged:
      return outcome::accessDenied();
    case platform::kIOReturnSuccess:
    case platform::kIOReturnNoDevice:
      return outcome::noScanner();
    default:
      return outcome::transferFailed(failure);
  }
}

// What the library answers of its copy of the picture, which it never makes, means nothing. One that stops
// before the picture is over ran out of memory for the stream.
ScanOutcome ScanSession::outcomeOf(std::int32_t result) const {
  const JobWatch& watch = supervision_->watch;
  const ScanOutcome verdict = watch.verdict();
  const bool decided =
      verdict.good() || verdict.status == ScanStatus::cancelled || watch.ended() || watch.pictureIsOver();
  const bool outOfMemory = result == notKept || supervision_->stack.outOfMemory();
  return outOfMemory && !decided ? outcome::noMemory() : verdict;
}

}  // namespace frontend
