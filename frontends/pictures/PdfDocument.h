#pragma once

#include <vector>

#include "ByteSink.h"
#include "PdfPicture.h"
#include "PictureWriter.h"

namespace frontend {

// Writes a document of these pages, in their order, to the sink. Borrows everything for the call. Errors of
// the PDF library are thrown as exceptions whose text is a clause, those of the sink are reported there. The
// same pages and settings give the same bytes every time.
void writePdfDocument(ByteSink& sink, const std::vector<PdfPicture>& pages, const PictureSettings& settings);

}  // namespace frontend
