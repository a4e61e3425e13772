// Reads: the TIFF or PDF file to which --append adds pages.
// Checks: a document that was accepted has one more page afterwards; one that was not has a reason.
#include "AppendedPage.h"
#include "Check.h"
#include "MemoryFile.h"
#include "PdfDocument.h"
#include "Target.h"
#include "TiffDocument.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static MemoryFile existing;
  existing.write({reinterpret_cast<const char*>(bytes), size});
  const bool pdf = size > 0 && bytes[0] == '%';
  const auto pagesOf = pdf ? frontend::pagesOfPdf : frontend::pagesOfTiff;
  std::uint32_t pages = 0;
  try {
    pages = pagesOf(existing.descriptor());
  } catch (const std::exception& error) {
    check(*error.what() != '\0');
    return 0;
  }
  AppendedPage result(existing.descriptor(), pdf);
  check(result.written() && pagesOf(result.descriptor()) == pages + 1);
  return 0;
}
