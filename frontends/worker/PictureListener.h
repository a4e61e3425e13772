#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "PictureHeader.h"
#include "ScanOutcome.h"

namespace frontend {

// Gets a picture while the scanner sends it, on the scanning thread. Must not throw.
class PictureListener {
 public:
  // The header is whole. An outcome ends the scan with it, before any row is shown.
  virtual std::optional<ScanOutcome> begins(const PictureHeader& header) = 0;
  // The next bytes of the raster, of all rows together never more than the header told. May block. False
  // where nobody wants them any more: the scan is ended as cancelled.
  virtual bool raster(const std::uint8_t* bytes, std::size_t count) = 0;
  // Every row has been shown, and the scanner has told that its job is done. What fails from now on does the
  // picture no harm.
  virtual void isWhole() = 0;

 protected:
  ~PictureListener() = default;
};

}  // namespace frontend
