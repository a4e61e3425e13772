#include "ScanSession.h"

#include <new>

#include "CScannerDriver.h"
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
// What StartScan answers where the image found no memory.
constexpr std::int32_t notKept = 1;

}  // namespace

struct ScanSession::Supervision {
  Supervision(platform::UsbStack& inner, const SessionHooks& hooks)
      : watch(hooks.cancel, hooks.limits, hooks.picture),
        stack(inner, watch, hooks.transfers),
        stackBefore(&platform::usbStack()) {
    platform::useUsbStack(&stack);
    platform::useLogSink(hooks.log != nullptr ? hooks.log : &quiet);
  }
  ~Supervision() {
    platform::useLogSink(nullptr);
    platform::useUsbStack(stackBefore);
  }
  Supervision(const Supervision&) = delete;
  Supervision& operator=(const Supervision&) = delete;

  JobWatch watch;
  WatchedUsbStack stack;
  QuietSink quiet;
  platform::UsbStack* stackBefore;
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
  ScanOutcome result = outcomeOf(StartScan(handle_));
  if (!result.good()) return result;

  const ConvertedImage& image = driver().convertedImage();
  raster_ = {image.pixels, image.rowWidthPixels, image.rowCount, image.bytesPerPixel};
  return result;
}

void ScanSession::setArea() const {
  const LibraryArea area = libraryArea(settings_.area, settings_.resolution);
  const auto resolution = static_cast<std::int32_t>(settings_.resolution);
  const std::int32_t mode = settings_.mode == ColorMode::gray ? grayCode : colorCode;
  SetScanParameterEx(handle_, resolution, resolution, mode, area.left, area.top, area.right, area.bottom);
}

ScanOutcome ScanSession::whyNotOpen() const {
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

ScanOutcome ScanSession::outcomeOf(std::int32_t result) const {
  const JobWatch& watch = supervision_->watch;
  const ScanOutcome verdict = watch.verdict();
  const bool decided = watch.ended() || verdict.status == ScanStatus::cancelled;
  if (result == notKept && !decided) return outcome::noMemory();
  if (!verdict.good()) return verdict;
  if (result == platform::kIOReturnNoDevice) return outcome::wentAway();
  const ConvertedImage& image = driver().convertedImage();
  if (result != 0 || image.pixels == nullptr) return outcome::noMemory();

  const PictureHeader& header = watch.header();
  const bool asAnnounced = image.rowWidthPixels == header.width() && image.rowCount == header.height() &&
                           image.bytesPerPixel == header.bytesPerPixel() &&
                           image.length == header.rasterBytes();
  if (!asAnnounced) return outcome::garbledStream();
  if (header.bytesPerPixel() != settings_.bytesPerPixel()) {
    return outcome::unreadablePicture("its colour mode is not the one that was asked for");
  }
  return verdict;
}

}  // namespace frontend
