#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "PictureHeader.h"
#include "ScanOutcome.h"

namespace frontend {

// Receives one picture while the scanner sends it: begins(), raster() until no more arrives, isWhole() if
// every row arrived. Called by the scanning thread, inside a transfer: a listener that blocks holds up the
// scanner. May throw only std::bad_alloc, which ends the scan as out of memory.
class PictureListener {
 public:
  // The header is complete. Returns nothing to receive the rows; an outcome ends the scan with it.
  virtual std::optional<ScanOutcome> begins(const PictureHeader& header) = 0;
  // The next bytes of the raster, at least one, of all rows together no more than the header announced; valid
  // only during the call. May block. False ends the scan as cancelled: no more rows are wanted.
  virtual bool raster(const std::uint8_t* bytes, std::size_t count) = 0;
  // Every row was passed on, and the scanner has ended its job or was silent after the last row; failures
  // from now on do the picture no harm. Called inside the read that brings the end, or the first one after
  // the silence: not at all where that one fails.
  virtual void isWhole() = 0;

 protected:
  ~PictureListener() = default;
};

}  // namespace frontend
