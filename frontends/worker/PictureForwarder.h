#pragma once

#include <optional>
#include <vector>

#include "ImagePipe.h"
#include "LineartPacker.h"
#include "PictureListener.h"
#include "ReportChannel.h"
#include "ScanRequest.h"

namespace frontend {

// Passes a picture on to the front end while it arrives: its layout, its rows in that layout, and, as soon as
// it is whole, that the scan is good. One thread.
class PictureForwarder final : public PictureListener {
 public:
  // All of it outlives the object.
  PictureForwarder(const ScanRequest& request, ReportChannel& reports, ImagePipe& pipe)
      : request_(request), reports_(reports), pipe_(pipe) {}

  std::optional<ScanOutcome> begins(const PictureHeader& header) override;
  bool raster(const std::uint8_t* bytes, std::size_t count) override;
  void isWhole() override;

 private:
  const ScanRequest& request_;
  ReportChannel& reports_;
  ImagePipe& pipe_;
  std::optional<LineartPacker> lineart_;
  std::vector<std::uint8_t> packed_;
};

}  // namespace frontend
