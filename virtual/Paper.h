#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "Color.h"
#include "Glass.h"
#include "OwnedDescriptor.h"

namespace virtualscanner {

// A picture file cannot be used as paper. what() names the file and the reason, fit to be shown to a user.
class PaperError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What lies on the glass. Independent of scans and devices: it only returns colours, of one point or one row
// at a time, and never holds a page of pixels. Immutable, so that threads and scanners may share it. What is
// not covered, and everything beyond the glass, is white. Painting never fails, blocks or throws.
class Paper {
 public:
  virtual ~Paper() = default;

  // The built-in page: a frame at the very edge, corner marks of four shapes, a title, colour patches, grey
  // ramps, line patterns and an asymmetric figure. See TestChart.h.
  static std::shared_ptr<const Paper> testChart();
  // One colour all over.
  static std::shared_ptr<const Paper> plain(Color color);
  // The picture of a PNG, JPEG or PNM file (P1 to P6, recognised by its first bytes), scaled to fit the glass
  // in its proportions, in the top left corner. Transparent parts are white. Throws PaperError for a file
  // that cannot be read, has another format, is damaged or truncated, or is larger than ImageFile.h allows.
  static std::shared_ptr<const Paper> fromFile(const std::string& path);
  // The same from an open file, for a process that may not open it. `path` is for messages.
  static std::shared_ptr<const Paper> fromFile(platform::OwnedDescriptor file, const std::string& path);

  // The colour at a point, in 1/2400 inch from the top left corner of the glass; any value is allowed.
  virtual Color colorAt(std::int64_t x, std::int64_t y) const = 0;
  // Fills `rgb` with `width` pixels of the row `row`, from column `left` on: three bytes per pixel, red
  // first. Rows and columns count from the corner of the glass and may lie beyond it. RowPainter calls it for
  // each row of a scan. The result equals pixelAt() for each column; papers override it for speed.
  virtual void paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                        std::uint8_t* rgb) const;
  // The same in grey, one byte per pixel: greyOf() of each colour. For papers that can do so without painting
  // in colour first; others return false and leave `grey` alone.
  virtual bool paintGreyRow(std::uint32_t /*resolution*/, std::int64_t /*row*/, std::int64_t /*left*/,
                            std::uint32_t /*width*/, std::uint8_t* /*grey*/) const {
    return false;
  }

  // The colour of one pixel, which is the colour at its centre: what every scan of this paper must deliver.
  Color pixelAt(std::uint32_t resolution, std::int64_t column, std::int64_t row) const {
    return colorAt(pixelCentre(resolution, column), pixelCentre(resolution, row));
  }
};

}  // namespace virtualscanner
