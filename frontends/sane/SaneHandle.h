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

// An open SANE handle: the options of one scanner, and the current scan in SANE's terms. Only translates:
// the scan itself runs in a process of its own. Opening a handle does not touch the device, which is opened
// for each scan.
//
// One thread, except cancel(). Nothing throws but std::bad_alloc.
class SaneHandle {
 public:
  // `debug` outlives the handle.
  SaneHandle(std::string scanner, const DebugOutput& debug);
  // Cancels a running scan and waits for its end, as SupervisedScan does.
  ~SaneHandle();
  SaneHandle(const SaneHandle&) = delete;
  SaneHandle& operator=(const SaneHandle&) = delete;

  const std::string& scanner() const { return scanner_; }
  const SaneOptions& options() const { return options_; }

  // As SaneOptions::set(); also INVAL while a scan has bytes left.
  SANE_Status setOption(SANE_Int index, void* value, SANE_Int* info);

  // Exact from start() to the end of the scan, otherwise an estimate from the options.
  SANE_Parameters parameters() const;

  // Starts a scan with the current configuration and returns at once. Discards the scan before, if it
  // was cancelled or its last byte was read. INVAL: the area is empty. DEVICE_BUSY: the scan before
  // has bytes left.
  SANE_Status start();

  // Blocks unless non-blocking. GOOD: `*length` bytes were read, at least one, or none if non-blocking. Every
  // other status ends the scan, leaves `*length` 0 and is returned again until the next start. INVAL: an
  // argument is invalid, and the scan goes on.
  SANE_Status read(SANE_Byte* data, SANE_Int capacity, SANE_Int* length);

  // Begins to cancel the scan; the pending or next read() returns CANCELLED. From any thread and from a
  // signal handler, at any time while the handle is open; harmless without a scan.
  void cancel() noexcept { cancellation_.request(); }

  // INVAL without a scan. Every scan begins blocking.
  SANE_Status setNonBlocking(bool nonBlocking);
  // For select(): readable exactly when there are bytes or the end of the scan. Valid until the next start.
  // INVAL without a scan.
  SANE_Status selectDescriptor(SANE_Int* descriptor) const;

 private:
  bool acquiring() const { return acquiring_ && !cancellation_.requested(); }
  bool hasBytesLeft() const { return acquiring() && delivered_ < layout_.bytes(); }
  void discardScan();
  // Logs the reason at the level that the status deserves.
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
  SANE_Status ended_ = SANE_STATUS_INVAL;  // what read() returns outside a scan
};

}  // namespace frontend
