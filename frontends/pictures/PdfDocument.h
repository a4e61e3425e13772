#pragma once

#include <vector>

#include "ByteSink.h"
#include "PdfPicture.h"
#include "PictureWriter.h"

namespace frontend {

// The number of pages of a PDF, which is read whole. Throws std::exception whose text is a clause ("it is
// encrypted") unless pages can be added to it without loss: it is intact, and neither encrypted nor signed.
std::uint32_t pagesOfPdf(int descriptor);

// Writes a document of these pages, in their order, to the sink; they follow those of settings.appendTo, if
// there is such a document, which keeps its information. Borrows everything for the call. Errors of the PDF
// library are thrown as exceptions whose text is a clause, those of the sink are reported there. The same
// pages and settings give the same bytes every time.
void writePdfDocument(ByteSink& sink, const std::vector<PdfPicture>& pages, const PictureSettings& settings);

}  // namespace frontend
