#include "TiffDocument.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace frontend {
namespace {

// The library's first complaint, which is the cause of the others; for an allocation that failed it has only
// a text, but errno.
struct Complaint {
  char text[200] = {};
  bool noMemory = false;
};

int noteComplaint(TIFF* /*tiff*/, void* user, const char* /*module*/, const char* format, va_list arguments) {
  auto& complaint = *static_cast<Complaint*>(user);
  complaint.noMemory = complaint.noMemory || errno == ENOMEM;
  if (complaint.text[0] == '\0') std::vsnprintf(complaint.text, sizeof complaint.text, format, arguments);
  return 1;
}

// Unknown fields and the like are what other programs may well have written. A field whose value lies beyond
// the end of the file belongs to a file that was cut off. For a required field that is missing the library
// assumes a value, from the size of the file for one: with another page in it, the value would be another.
int noteMissingField(TIFF* tiff, void* user, const char* module, const char* format, va_list arguments) {
  const bool harmless =
      std::strstr(format, "IO error") == nullptr && std::strstr(format, "missing required") == nullptr;
  return harmless ? 1 : noteComplaint(tiff, user, module, format, arguments);
}

[[noreturn]] void throwDamaged(const Complaint& complaint, const std::string& why) {
  if (complaint.noMemory) throw std::bad_alloc();
  throw std::runtime_error("it is damaged" + (why.empty() ? "" : " (" + why + ")"));
}

bool hasTiffHeader(int descriptor) {
  char header[4] = {};
  if (pread(descriptor, header, sizeof header, 0) != sizeof header) return false;
  const std::string text(header, sizeof header);
  return text == std::string("II*\0", 4) || text == std::string("MM\0*", 4) ||
         text == std::string("II+\0", 4) || text == std::string("MM\0+", 4);
}

// A file that was cut off has its directories where they were and lacks pixels.
bool hasAllPixels(TIFF* tiff, std::uint64_t size) {
  const std::uint32_t pieces = TIFFIsTiled(tiff) != 0 ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  if (pieces > size) return false;  // each has an entry in the file; more would only take time
  for (std::uint32_t piece = 0; piece < pieces; ++piece) {
    const std::uint64_t begin = TIFFGetStrileOffset(tiff, piece);
    const std::uint64_t length = TIFFGetStrileByteCount(tiff, piece);
    if (begin > size || length > size - begin) return false;
  }
  return true;
}

}  // namespace

std::uint32_t pagesOfTiff(int descriptor) {
  if (!hasTiffHeader(descriptor)) throw std::runtime_error("it is not a TIFF file");
  struct stat status {};
  fstat(descriptor, &status);
  Complaint complaint;
  errno = 0;
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                                 TIFFOpenOptionsFree);
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), noteComplaint, &complaint);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), noteMissingField, &complaint);
  lseek(descriptor, 0, SEEK_SET);
  const int own = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);  // the library closes its descriptor
  // Not mapped into memory: another program may cut the file off meanwhile.
  const std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff(TIFFFdOpenExt(own, "document", "rm", options.get()),
                                                         TIFFClose);
  if (!tiff && own >= 0) close(own);
  if (!tiff) throwDamaged(complaint, complaint.text);
  std::uint32_t pages = 0;
  do {
    if (!hasAllPixels(tiff.get(), static_cast<std::uint64_t>(status.st_size)))
      throwDamaged(complaint, "the pixels of page " + std::to_string(pages + 1) + " are missing");
    ++pages;
  } while (TIFFReadDirectory(tiff.get()) == 1);
  if (complaint.text[0] != '\0') throwDamaged(complaint, complaint.text);
  // In a chain of directories without an end no page could be added.
  if (TIFFLastDirectory(tiff.get()) == 0) throwDamaged(complaint, "its list of pages has no end");
  // Reading a directory takes a link that was cut off for the end of the chain. Counting them does not.
  TIFFNumberOfDirectories(tiff.get());
  if (complaint.text[0] != '\0') throwDamaged(complaint, complaint.text);
  return pages;
}

}  // namespace frontend
