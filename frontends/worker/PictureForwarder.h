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
// in the tone that the request asks for, and a good
// outcome as soon as it is whole, though the scanner still gets its last calls. The functions are called,
// block and fail as PictureListener.h says. One thread.
class PictureForwarder final : public PictureListener {
 public:
  // All of them outlive the object.
  PictureForwarder(const ScanRequest& request, ReportChannel& reports, ImagePipe& pipe)
      : request_(request), reports_(reports), pipe_(pipe) {}

  // Refuses a picture of another size or color than the request asked for.
  std::optional<ScanOutcome> begins(const PictureHeader& header) override;
  // Blocks while the pipe is full. False where the scan is cancelled or the front end gone.
  bool raster(const std::uint8_t* bytes, std::size_t count) override;
  // Reports the outcome before the pipe ends, so that a front end at its end finds it.
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
