#include "SaneHandle.h"

#include <utility>

#include "QuenvarConfig.h"
#include "SaneStatus.h"

namespace frontend {
namespace {

constexpr char cancelledByFrontEnd[] = "The front end cancelled the scan.";

std::string described(const PictureLayout& layout) {
  return std::to_string(layout.width) + " x " + std::to_string(layout.height) + " pixels of " +
         std::to_string(layout.channels) + " x " + std::to_string(layout.bitsPerChannel) + " bits at " +
         std::to_string(layout.resolution) + " dots per inch";
}

}  // namespace

SaneHandle::SaneHandle(std::string scanner, const DebugOutput& debug)
    : scanner_(std::move(scanner)), debug_(debug) {}

SaneHandle::~SaneHandle() = default;

SANE_Parameters SaneHandle::parameters() const {
  const PictureLayout layout = acquiring() ? layout_ : options_.expectedPicture();
  SANE_Parameters parameters{};
  parameters.format = layout.channels == 3 ? SANE_FRAME_RGB : SANE_FRAME_GRAY;
  parameters.last_frame = SANE_TRUE;
  parameters.bytes_per_line = static_cast<SANE_Int>(layout.rowBytes());
  parameters.pixels_per_line = static_cast<SANE_Int>(layout.width);
  parameters.lines = static_cast<SANE_Int>(layout.height);
  parameters.depth = static_cast<SANE_Int>(layout.bitsPerChannel);
  return parameters;
}

SANE_Status SaneHandle::setOption(SANE_Int index, void* value, SANE_Int* info) {
  return hasBytesLeft() ? SANE_STATUS_INVAL : options_.set(index, value, info);
}

void SaneHandle::discardScan() {
  aim_.reset();
  acquiring_ = false;
  scan_.reset();
}

SANE_Status SaneHandle::start() {
  if (hasBytesLeft()) return SANE_STATUS_DEVICE_BUSY;
  auto request = options_.request();
  if (!request) {
    debug_.line(DebugOutput::failures, "The area is empty: its corners are crossed or too close together.");
    return SANE_STATUS_INVAL;
  }
  const QuenvarConfig config = QuenvarConfig::load();
  request->scanner = scanner_;
  request->timeout = config.timeout;
  request->virtualScanner = config.virtualOptions;
  request->verbose = debug_.shows(DebugOutput::library);

  // From here on a cancel means the new scan, even while the scan before is being discarded.
  cancellation_.reset();
  discardScan();
  scan_ = std::make_unique<SupervisedScan>(*request);
  layout_ = expectedLayout(*request);
  delivered_ = 0;
  nonBlocking_ = false;
  acquiring_ = true;
  aim_.emplace(cancellation_, *scan_);
  debug_.line(DebugOutput::steps, "scanning " + described(layout_));
  return SANE_STATUS_GOOD;
}

SANE_Status SaneHandle::read(SANE_Byte* data, SANE_Int capacity, SANE_Int* length) {
  if (length != nullptr) *length = 0;
  if (data == nullptr || length == nullptr || capacity < 1) return SANE_STATUS_INVAL;
  if (!acquiring_) return ended_;
  if (cancellation_.requested()) return end(SANE_STATUS_CANCELLED, cancelledByFrontEnd);
  const auto room = static_cast<std::size_t>(capacity);
  const auto count = nonBlocking_ ? scan_->readAvailable(data, room) : std::optional(scan_->read(data, room));
  if (cancellation_.requested()) return end(SANE_STATUS_CANCELLED, cancelledByFrontEnd);
  if (!count) return SANE_STATUS_GOOD;
  if (*count == 0) {
    const ScanOutcome& outcome = scan_->outcome();
    return end(saneStatusOf(outcome.status), outcome.sentence);
  }
  delivered_ += *count;
  *length = static_cast<SANE_Int>(*count);
  return SANE_STATUS_GOOD;
}

SANE_Status SaneHandle::end(SANE_Status status, const std::string& why) {
  const bool failed = status != SANE_STATUS_EOF && status != SANE_STATUS_CANCELLED;
  debug_.line(failed ? DebugOutput::failures : DebugOutput::steps, why);
  acquiring_ = false;
  ended_ = status;
  if (failed) scan_->cancel();
  return status;
}

SANE_Status SaneHandle::setNonBlocking(bool nonBlocking) {
  if (!nonBlocking && acquiring_) {
    nonBlocking_ = false;
    return SANE_STATUS_GOOD;
  }
  if (!acquiring()) return SANE_STATUS_INVAL;
  nonBlocking_ = nonBlocking;
  return SANE_STATUS_GOOD;
}

SANE_Status SaneHandle::selectDescriptor(SANE_Int* descriptor) const {
  if (descriptor == nullptr || !acquiring_) return SANE_STATUS_INVAL;
  *descriptor = scan_->descriptor();
  return SANE_STATUS_GOOD;
}

}  // namespace frontend
