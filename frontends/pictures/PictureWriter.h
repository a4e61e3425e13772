#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ByteSink.h"
#include "PictureFormat.h"
#include "PictureLayout.h"

namespace frontend {

// What a picture file says beside its pixels, and how.
struct PictureNotes {
  std::string software;       // "q750 1.0.0"
  bool severalPages = false;  // whether the file is meant for more than one
  int quality = 90;           // of JPEG pictures and those in a PDF, 1 to 100
  bool lossless = false;      // PDF: no JPEG
};

// Writes a picture, or a document of several, row by row as it comes from the scanner:
//
//   writer->beginPage(layout);
//   for (...) writer->writeRow(row);  // layout.height times
//   writer->endPage();
//   writer->finish();
//
// Keeps at most a compressed page (a compressed document for PDF) in memory. Whether it worked is the sink's
// good(); once it is not, everything does nothing. The same pages and notes give the same bytes every time.
// Throws nothing but std::bad_alloc.
class PictureWriter {
 public:
  virtual ~PictureWriter() = default;
  // A page that is not empty. Several only where the format holds them (holdsPages(), and PNM).
  virtual void beginPage(const PictureLayout& layout) = 0;
  // As the layout says; not changed.
  virtual void writeRow(const std::uint8_t* row) = 0;
  virtual void endPage() = 0;
  // Forgets the page that was begun: what then is finished are the pages before it. Only finish() may follow.
  // For formats that hold pages, after the first one.
  virtual void abandonPage() {}
  // After the last page.
  virtual void finish() = 0;
};

// The sink is used until finish(), and stays the caller's. It must be able to seek for TIFF.
std::unique_ptr<PictureWriter> makePictureWriter(PictureFormat format, ByteSink& sink,
                                                 const PictureNotes& notes);

// TIFF 6.0: Deflate with horizontal differencing; black and white in CCITT Group 4.
std::unique_ptr<PictureWriter> makeTiffWriter(ByteSink& sink, const PictureNotes& notes);
std::unique_ptr<PictureWriter> makePngWriter(ByteSink& sink, const PictureNotes& notes);
// Black and white becomes grey.
std::unique_ptr<PictureWriter> makeJpegWriter(ByteSink& sink, const PictureNotes& notes);
// PBM, PGM or PPM (P4, P5, P6), one after another; the resolution stands in a comment.
std::unique_ptr<PictureWriter> makePnmWriter(ByteSink& sink, const PictureNotes& notes);
// Each page as large as what was scanned. Colour and grey as JPEG, or with Deflate where that is wanted;
// black and white always with Deflate.
std::unique_ptr<PictureWriter> makePdfWriter(ByteSink& sink, const PictureNotes& notes);

}  // namespace frontend
