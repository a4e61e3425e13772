#pragma once

#include <sane/sane.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Cancellation.h"
#include "DebugOutput.h"
#include "PictureLayout.h"
#include "SaneOptions.h"
#include "SupervisedScan.h"

namespace frontend {

// An open scanner: its options, and the scan of the moment as SANE wants to see it. Translates and nothing
// else: the scan itself runs in a process of its own. Opening costs nothing, as the device is opened with
// every scan.
//
// One thread, but for cancel(). Nothing throws but std::bad_alloc.
class SaneHandle {
 public:
  // `debug` outlives the handle.
  SaneHandle(std::string scanner, const DebugOutput& debug);
  // Ends what still runs.
  ~SaneHandle();
  SaneHandle(const SaneHandle&) = delete;
  SaneHandle& operator=(const SaneHandle&) = delete;

  const std::string& scanner() const { return scanner_; }
  const SaneOptions& options() const { return options_; }

  // As SaneOptions has it; INVAL in the middle of a scan, too.
  SANE_Status setOption(SANE_Int index, void* value, SANE_Int* info);

  // Exact from start() to the scan's end, otherwise what the options promise.
  SANE_Parameters parameters() const;

  // Returns at once. The configuration is that of the moment. Ends a scan whose end was read, or only its
  // last byte, or that was cancelled. INVAL: the area is none. DEVICE_BUSY: this handle is in the middle of a
  // scan.
  SANE_Status start();

  // GOOD with at least one byte; without waiting, also with none. Everything else is the end, and is said
  // again until the next start.
  SANE_Status read(SANE_Byte* data, SANE_Int capacity, SANE_Int* length);

  // From any thread and from a signal handler.
  void cancel() noexcept { cancellation_.request(); }

  SANE_Status setNonBlocking(bool nonBlocking);
  SANE_Status selectDescriptor(SANE_Int* descriptor) const;

 private:
  bool acquiring() const { return acquiring_ && !cancellation_.requested(); }
  bool inTheMiddle() const { return acquiring() && delivered_ < layout_.bytes(); }
  void leaveOldScan();
  SANE_Status end(SANE_Status status, const std::string& why);

  const std::string scanner_;
  const DebugOutput& debug_;
  SaneOptions options_;
  Cancellation cancellation_;
  std::unique_ptr<SupervisedScan> scan_;
  std::optional<Cancellation::Aim> aim_;  // at the scan; gone before it
  PictureLayout layout_;                  // of the scan
  std::uint64_t delivered_ = 0;
  bool acquiring_ = false;
  bool nonBlocking_ = false;
  SANE_Status ended_ = SANE_STATUS_INVAL;  // what a read gets outside a scan
};

}  // namespace frontend
