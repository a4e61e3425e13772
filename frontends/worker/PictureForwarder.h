#pragma once

#include <optional>
#include <vector>

#include "ImagePipe.h"
#include "LineartPacker.h"
#include "PictureListener.h"
#include "ReportChannel.h"
#include "ScanRequest.h"
#include "ToneTable.h"

namespace frontend {

// Passes a picture on to the front end while it arrives: its layout, its rows in that layout, in lineart or
// in the requested tone, and a good outcome as soon as it is complete, before the last calls to the scanner.
// The functions are called, block and fail as described in PictureListener.h. One thread.
class PictureForwarder final : public PictureListener {
 public:
  // All of them outlive the object.
  PictureForwarder(const ScanRequest& request, ReportChannel& reports, ImagePipe& pipe)
      : request_(request), reports_(reports), pipe_(pipe) {}

  // Refuses a picture whose size or color differs from the request.
  std::optional<ScanOutcome> begins(const PictureHeader& header) override;
  // Blocks while the pipe is full. False if the scan is cancelled or the front end has exited.
  bool raster(const std::uint8_t* bytes, std::size_t count) override;
  // Reports the outcome before the pipe is closed, so that a front end that reaches its end finds it.
  void isWhole() override;

 private:
  const ScanRequest& request_;
  ReportChannel& reports_;
  ImagePipe& pipe_;
  std::optional<LineartPacker> lineart_;
  std::optional<ToneTable> tone_;
  std::vector<std::uint8_t> changed_;  // kept for its memory alone
};

}  // namespace frontend
