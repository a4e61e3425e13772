#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "PictureLayout.h"
#include "PictureWriter.h"

namespace frontend {

// The compressed picture of one page: the content of an image stream of a PDF.
struct PdfPicture {
  PictureLayout layout;
  std::string filter;  // the entries of the stream's dictionary that name the compression
  std::string bytes;
};

// Compresses the picture of one page, row by row, into memory. Knows nothing of the document. Every function
// throws std::runtime_error, whose text is a clause, where the library underneath gives up, and
// std::bad_alloc; after that the encoder may only be destroyed. One thread.
class PdfPictureEncoder {
 public:
  virtual ~PdfPictureEncoder() = default;

  // Encodes layout.rowBytes() bytes, which are not used after the call.
  virtual void writeRow(const std::uint8_t* row) = 0;
  // Returns the picture after its last row. At most once.
  virtual PdfPicture finish() = 0;
};

// The encoder for this layout: CCITT Group 4 for lineart, else JPEG, or Deflate if lossless.
std::unique_ptr<PdfPictureEncoder> makePdfPictureEncoder(const PictureLayout& layout,
                                                         const PictureSettings& settings);

}  // namespace frontend
