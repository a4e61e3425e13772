#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ByteSink.h"
#include "PictureFormat.h"
#include "PictureLayout.h"
#include "Rotation.h"

namespace frontend {

// Of JPEG, as its library counts it.
inline constexpr int lowestQuality = 1;
inline constexpr int highestQuality = 100;
inline constexpr int defaultQuality = 90;

// What a picture file contains besides its pixels, and how they are compressed.
struct PictureSettings {
  std::string software;                      // the program that the file names as its origin: "q750 1.0.0"
  std::string title = {};                    // PDF: of the document, in UTF-8; none if empty
  std::optional<std::int64_t> created = {};  // PDF: seconds since 1970, UTC, of a year up to 9999
  bool multiPage = false;                    // whether the file may get more than one page
  int appendTo =
      -1;  // a document of the format that the pages follow (ExistingDocument.h), borrowed; -1: none
  int quality = defaultQuality;        // of JPEG pictures and those in a PDF
  bool lossless = false;               // PDF: Deflate instead of JPEG
  Rotation rotation = Rotation::none;  // of every page
};

// What there was too little of when a document was written.
enum class Shortage : std::uint8_t { disk, memory };

// Encodes a picture, or a document of several, row by row as it arrives from the scanner:
//
//   writer->beginPage(layout);
//   for (...) writer->writeRow(row);  // layout.height times
//   writer->endPage();
//   writer->finish();
//
// Holds at most one compressed page in memory (the compressed document for PDF). One thread at a time. Every
// function writes to the sink and blocks as long as that does. Errors are reported through the sink: once it
// is not good(), every function returns without doing anything. Nothing throws but std::bad_alloc, after
// which a page can only be abandoned. The same pages and settings give the same bytes every time.
class PictureWriter {
 public:
  virtual ~PictureWriter() = default;

  // Begins a page, whose layout has at least one pixel; a second page only where the format holds several
  // (holdsPages()) or is PNM, whose pictures follow each other.
  virtual void beginPage(const PictureLayout& layout) = 0;

  // Encodes the next row of the page. `row` holds layout.rowBytes() bytes, which are not changed and not used
  // after the call.
  virtual void writeRow(const std::uint8_t* row) = 0;

  // Passes on to the sink what is encoded of the page, as far as that changes none of the bytes of the file:
  // for a reader who follows the file while it grows. Formats that need the whole page keep it.
  virtual void flush() {}

  // Completes the page after its last row.
  virtual void endPage() = 0;

  // The next three are for formats that hold several pages (holdsPages()); the others ignore them. They work
  // on a sink that has recovered from an error, too.

  // Drops the page that was begun, and puts back the one that was set aside for it: the document has its
  // complete pages again. Where the disk has become too full to put a page back, the sink ends, and shrink()
  // drops it.
  virtual void abandonPage() {}

  // Takes the last complete page out of the document, until endPage() completes the page that replaces it or
  // abandonPage() puts it back. Needs as much memory as the compressed page.
  virtual void setPageAside() {}

  // Drops complete pages from the end after memory or disk space ran out while the document was written: one,
  // or as many as the writer can foresee. Returns how many are left.
  virtual std::uint32_t shrink(Shortage /*shortage*/) { return 0; }

  // Completes the file after its last page; after an error shrink() may follow, and finish() again. A writer
  // that is destroyed without it leaves an incomplete file.
  virtual void finish() = 0;
};

// The writer for the format and the rotation. It borrows the sink, which must outlive it and, for TIFF, be
// able to seek; the settings are copied.
std::unique_ptr<PictureWriter> makePictureWriter(PictureFormat format, ByteSink& sink,
                                                 const PictureSettings& settings);

// The same for each format, in the source named after it, without rotation.

// TIFF 6.0: Deflate with horizontal differencing; lineart in CCITT Group 4.
std::unique_ptr<PictureWriter> makeTiffWriter(ByteSink& sink, const PictureSettings& settings);
std::unique_ptr<PictureWriter> makePngWriter(ByteSink& sink, const PictureSettings& settings);
// JFIF; lineart becomes gray.
std::unique_ptr<PictureWriter> makeJpegWriter(ByteSink& sink, const PictureSettings& settings);
// PBM, PGM or PPM (P4, P5, P6), one after another, with the resolution in a comment.
std::unique_ptr<PictureWriter> makePnmWriter(ByteSink& sink, const PictureSettings& settings);
// Each page has the size of the scanned area. Color and gray as JPEG, or with Deflate if lossless; lineart in
// CCITT Group 4.
std::unique_ptr<PictureWriter> makePdfWriter(ByteSink& sink, const PictureSettings& settings);

}  // namespace frontend
