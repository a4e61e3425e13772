// Reads: the PNG, JPEG or PNM file of --virtual-paper.
// Checks: a picture within the limits with all of its pixels, or an error that names the file.
#include "ImageFile.h"

#include "Check.h"
#include "MemoryFile.h"
#include "Paper.h"
#include "PngInput.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static MemoryFile file;
  std::string content(textOf({bytes, size}));
  repairPng(content);
  // Larger pictures, up to the 100 million pixels that are allowed, only take time.
  if (announcedPixels(content) > 65536) return 0;
  file.write(content);
  try {
    const virtualscanner::Image image = virtualscanner::readImageFile(file.path());
    check(image.width > 0 && image.rgb.size() == std::size_t{image.width} * image.height * 3);
  } catch (const virtualscanner::PaperError& error) {
    check(std::string_view(error.what()).starts_with(file.path() + ": "));
  }
  return 0;
}
